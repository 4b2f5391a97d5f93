'use strict';
// A camera's calibration: its gradient among the five tables, the record's bytes, the block's rows.

const GRADIENT_LIMIT = 16;  // of the scale; beyond it the marker stands at the edge
const UNITY = 0x2000;  // the value that leaves a pixel as it is

function drawGradient(tables, gradient) {
  const width = pictureWidth(760);
  const isNarrow = width < 600;  // the names of every second table stand lower
  const edge = GRADIENT_LIMIT + .5;
  const x = (value) => 20 + (Math.min(Math.max(value, -edge), edge) + edge) * (width - 40) / (2 * edge);
  const parts = tables.flatMap(({index, from, to}, i) => {
    const lower = isNarrow && i % 2 === 1 ? 36 : 0;
    const [left, right] = [x((from ?? -Infinity) - .5), x((to ?? Infinity) + .5)];
    const holds = typeof gradient === 'number' && gradient >= (from ?? -Infinity) && gradient <= (to ?? Infinity);
    const range = from === null ? `≤ ${plain(to)}` : to === null ? `≥ ${plain(from)}` : `${plain(from)} to ${plain(to)}`;
    const middle = {x: (left + right) / 2, 'text-anchor': 'middle'};
    return [svg('rect', {x: left + 1, y: 34, width: Math.max(right - left - 2, 0), height: 22, rx: 3, class: holds ? 'fill' : 'track'}),
            svg('text', {...middle, y: 74 + lower, class: 'strong'}, `table ${index}`), svg('text', {...middle, y: 90 + lower}, range)];
  });
  if (typeof gradient === 'number') {
    const at = x(gradient);
    const anchor = at < 60 ? 'start' : at > width - 60 ? 'end' : 'middle';
    parts.push(svg('path', {d: `M${at} 60l-6 -10h12z`, transform: `rotate(180 ${at} 55) translate(0 25)`, class: 'ink'}),
               svg('text', {x: at, y: 16, 'text-anchor': anchor, class: 'strong'}, `gradient ${plain(gradient)}`));
  }
  const label = `gradient ${plain(gradient)} among the ranges of ${tables.length} tables`;
  return svg('svg', {class: 'chart', viewBox: `0 0 ${width} ${isNarrow ? 134 : 98}`, role: 'img', 'aria-label': label}, ...parts);
}

// The block's nine rows as curves below each other, on one scale.
function drawRows(rows, title) {
  const width = pictureWidth(640);
  const rowHeight = 34;
  const [least, greatest] = extentOf(rows.flat());
  const most = Math.max(greatest, least + 1);
  const parts = rows.flatMap((row, r) => {
    const top = 6 + r * rowHeight;
    const y = (value) => (top + (rowHeight - 6) * (1 - (value - least) / (most - least))).toFixed(1);
    const points = row.map((value, k) => `${(58 + k * (width - 66) / Math.max(row.length - 1, 1)).toFixed(1)} ${y(value)}`);
    const line = least <= UNITY && UNITY <= most ? [svg('path', {d: `M58 ${y(UNITY)}H${width - 8}`, class: 'line'})] : [];
    return [...line, svg('path', {d: `M${points.join('L')}`, class: 'trace'}), svg('text', {x: 0, y: top + 20}, `row ${r}`)];
  });
  const label = `${title}: ${rows.length} rows, values from ${count(least)} to ${count(greatest)}`;
  return svg('svg', {class: 'chart', viewBox: `0 0 ${width} ${12 + rowHeight * rows.length}`, role: 'img', 'aria-label': label}, ...parts);
}

function blockPart(title, rows) {
  const part = element('div', {}, element('h3', {}, title));
  if (!rows?.some((row) => row.length > 0)) {
    part.append(element('p', {class: 'soft'}, 'Not there.'));
    return part;
  }
  const [least, most] = extentOf(rows.flat());
  const unity = least <= UNITY && UNITY <= most ? `; the line is ${count(UNITY)}, a gain of 1` : '';
  part.append(guarded('The curve', () => drawRows(rows, title)),
              element('p', {class: 'soft'}, `${rows[0].length} values a row, ${count(least)} to ${count(most)}${unity}`));
  return part;
}

function recordTable(parts) {
  return table(['byte', 'hex', 'meaning'].map((name) => element('th', {}, name)), parts.map(({bytes, hex, meaning}) =>
    [element('td', {}, bytes), element('td', {}, element('code', {}, hex)), element('td', {}, meaning)]));
}

function cameraCalibration(camera, tables) {
  const {table: chosen, block} = camera;
  const part = section(`Camera ${camera.camera}`, `camera-${camera.camera}`);
  const file = camera.file ? `${camera.file}${camera.file_bytes ? `, ${count(camera.file_bytes)} bytes` : ''}` : 'no dump file';
  part.append(element('p', {class: 'soft'}, `${file}${camera.file_problem ? `: ${camera.file_problem}` : ''}`),
              element('p', {class: chosen.sound ? null : 'notice'}, `Golden table ${chosen.index}: ${chosen.reason}` +
                      (chosen.default ? `. The caller gets the default, ${chosen.default}.` : '.')));
  if (tables) part.append(guarded('The gradient', () => drawGradient(tables, chosen.gradient)));
  if (chosen.record_parts?.length > 0) {
    part.append(element('h3', {}, `Multi-golden record at ${plain(chosen.record_offset)}`), recordTable(chosen.record_parts));
  }
  part.append(element('h3', {}, 'PNC block'),
              element('p', {class: block.sound ? null : 'notice'}, `${block.kind}: ${block.reason}` +
                      (block.default ? `. The caller gets: ${block.default}.` : '.')));
  if (block.stored?.length > 0 || block.values?.length > 0) {
    part.append(element('div', {class: 'pair'}, blockPart('As stored in the file', block.stored),
                        blockPart(`As handed out (${block.kind})`, block.values)));
  }
  return part;
}

function showCalibration(page, data) {
  document.title = 'Calibration report';
  page.append(element('header', {}, element('h1', {}, `Calibration of ${data.device ?? data.name}`),
                      element('p', {}, data.name)));
  for (const camera of data.cameras) {
    page.append(guarded(`Camera ${camera.camera}`, () => cameraCalibration(camera, data.tables)));
  }
}

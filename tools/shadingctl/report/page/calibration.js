'use strict';
// A camera's calibration: its gradient among the five tables, the record's bytes, the block's rows.

const GRADIENT_LIMIT = 16;  // of the scale; beyond it the marker stands at the edge
const UNITY = 0x2000;  // the value that leaves a pixel as it is

function drawGradient(tables, gradient) {
  const width = 760;
  const x = (value) => 20 + (Math.min(Math.max(value, -GRADIENT_LIMIT - .5), GRADIENT_LIMIT + .5) + GRADIENT_LIMIT + .5) *
                       (width - 40) / (2 * GRADIENT_LIMIT + 1);
  const parts = tables.map(({index, from, to}) => {
    const left = x((from ?? -Infinity) - .5);
    const right = x((to ?? Infinity) + .5);
    const holds = typeof gradient === 'number' && (from === null || gradient >= from) && (to === null || gradient <= to);
    const range = from === null ? `≤ −${-to}` : to === null ? `≥ ${from}` : `${from} to ${to}`.replace(/-/g, '−');
    return `<rect x="${left + 1}" y="34" width="${right - left - 2}" height="22" rx="3" class="${holds ? 'fill' : 'track'}"/>` +
           `<text x="${(left + right) / 2}" y="74" text-anchor="middle" class="strong">table ${index}</text>` +
           `<text x="${(left + right) / 2}" y="90" text-anchor="middle">${range}</text>`;
  });
  if (typeof gradient === 'number') {
    const at = x(gradient);
    parts.push(`<path d="M${at} 60l-6 -10h12z" transform="rotate(180 ${at} 55) translate(0 25)" class="ink"/>` +
               `<text x="${at}" y="16" text-anchor="middle" class="strong">gradient ${plain(gradient)}</text>`);
  }
  return `<svg class="chart" viewBox="0 0 ${width} 98" role="img" aria-label="gradient and the tables' ranges">${parts.join('')}</svg>`;
}

// The block's nine rows as curves below each other, on one scale.
function drawRows(rows, title) {
  const width = 640;
  const rowHeight = 34;
  const all = rows.flat();
  const least = Math.min(...all);
  const most = Math.max(...all, least + 1);
  const parts = rows.map((row, r) => {
    const top = 6 + r * rowHeight;
    const y = (value) => (top + (rowHeight - 6) * (1 - (value - least) / (most - least))).toFixed(1);
    const points = row.map((value, k) => `${(58 + k * (width - 66) / (row.length - 1)).toFixed(1)} ${y(value)}`);
    const line = least <= UNITY && UNITY <= most ? `<path d="M58 ${y(UNITY)}H${width - 8}" class="line"/>` : '';
    return `${line}<path d="M${points.join('L')}" class="trace"/><text x="0" y="${top + 20}">row ${r}</text>`;
  });
  return `<svg class="chart" viewBox="0 0 ${width} ${12 + rowHeight * rows.length}" role="img" aria-label="${title}">${parts.join('')}</svg>`;
}

function blockPart(title, rows) {
  const part = element('div', {}, element('h3', {}, title));
  if (!rows || rows.length === 0) {
    part.append(element('p', {class: 'soft'}, 'Not there.'));
    return part;
  }
  const all = rows.flat();
  const [least, most] = [Math.min(...all), Math.max(...all)];
  const unity = least <= UNITY && UNITY <= most ? `; the line is ${count(UNITY)}, a gain of 1` : '';
  part.insertAdjacentHTML('beforeend', drawRows(rows, title));
  part.append(element('p', {class: 'soft'}, `${rows[0].length} values a row, ${count(least)} to ${count(most)}${unity}`));
  return part;
}

function recordTable(parts) {
  const table = element('table', {}, element('tr', {}, ...['byte', 'hex', 'meaning'].map((name) => element('th', {}, name))));
  for (const {bytes, hex, meaning} of parts) {
    table.append(element('tr', {}, element('td', {}, bytes), element('td', {}, element('code', {}, hex)),
                         element('td', {}, meaning)));
  }
  return table;
}

function cameraCalibration(camera, tables) {
  const {table, block} = camera;
  const part = section(`Camera ${camera.camera}`, `camera-${camera.camera}`);
  const file = camera.file ? `${camera.file}${camera.file_bytes ? `, ${count(camera.file_bytes)} bytes` : ''}` : 'no dump file';
  part.append(element('p', {class: 'soft'}, `${file}${camera.file_problem ? `: ${camera.file_problem}` : ''}`),
              element('p', {class: table.sound ? null : 'notice'}, `Golden table ${table.index}: ${table.reason}` +
                      (table.default ? `. The caller gets the default, ${table.default}.` : '.')));
  if (tables) part.insertAdjacentHTML('beforeend', drawGradient(tables, table.gradient));
  if (table.record_parts?.length > 0) {
    part.append(element('h3', {}, `Multi-golden record at ${plain(table.record_offset)}`), recordTable(table.record_parts));
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
  for (const camera of data.cameras) page.append(cameraCalibration(camera, data.tables));
}

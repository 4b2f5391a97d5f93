'use strict';
// A fit: its verdict and quantities beside the library's numbers, the lag against the exposure, what other lags leave
// over, what the fit leaves over in each frame, and the image that was measured with the one that the fit expects.

const SHOWN_OUTLIERS = 24;
const FIT_QUANTITIES = [
  {key: 'lag_us', label: 'lag', unit: 'µs', digits: 0},
  {key: 'lag_slope', label: 'its slope', unit: '', digits: 4},
  {key: 'lag_intercept_us', label: 'its intercept', unit: 'µs', digits: 0},
  {key: 'gain', label: 'gain', unit: '', digits: 4},
  {key: 'cross_talk', label: 'cross-talk', unit: '', digits: 4},
  {key: 'curvature', label: 'curvature of the gain', unit: '', digits: 4},
  {key: 'trend', label: 'trend of the image', unit: '', digits: 4},
  {key: 'trend_bend', label: 'bend of the trend', unit: '', digits: 4},
  {key: 'drift_ppm', label: 'drift of the lag', unit: 'ppm', digits: 1},
  {key: 'residual', label: 'residual', unit: '', digits: 4},
  {key: 'residual_share', label: 'residual / motion', unit: '', digits: 4},
  {key: 'correlation', label: 'correlation of errors', unit: '', digits: 4},
];

function fitNumber(value, {digits, unit}) {
  if (value === null || value === undefined) return MISSING;
  const [whole, rest] = Math.abs(value).toFixed(digits).split('.');
  const isZero = !/[1-9]/.test(whole + (rest ?? ''));
  return `${value < 0 && !isZero ? '−' : ''}${grouped(whole)}${rest ? `.${rest}` : ''}${unit ? `\u00a0${unit}` : ''}`;
}

// The interval with its value on a scale of six half-widths, and the library's number as an upright line, or as an arrow
// where it lies beyond the scale.
function drawInterval({value, interval, library}) {
  const width = 180;
  const reach = 3 * (interval[1] - interval[0]) / 2 || 1;
  const x = (at) => (6 + (at - value + reach) / (2 * reach) * (width - 12)).toFixed(1);
  const side = Math.abs(library - value) <= reach ? 0 : Math.sign(library - value);
  const mark = side === 0 ? `M${x(library)} 1V17` : `M${width / 2 + side * 64} 9H${width / 2 + side * 86}l${-side * 7} -5m${side * 7} 5l${-side * 7} 5`;
  return svg('svg', {class: 'interval', viewBox: `0 0 ${width} 18`, width, height: 18, role: 'img',
                     'aria-label': side === 0 ? 'the library’s number lies beside the interval' : 'the library’s number lies beyond the scale'},
             svg('path', {d: `M${x(interval[0])} 9H${x(interval[1])}`, class: 'range'}),
             svg('circle', {cx: x(value), cy: 9, r: 4, class: 'value'}), svg('path', {d: mark, class: 'library'}));
}

function quantityTable(axes) {
  const heads = ['image', '', 'value', '95 % from', 'to', 'library', ''];
  const rows = [];
  for (const name of ['x', 'y']) {
    for (const kind of FIT_QUANTITIES) {
      const quantity = axes[name][kind.key];
      const {interval, library} = quantity;
      const number = (value, key) => element('td', {class: 'number', 'data-key': key}, fitNumber(value, kind));
      const bar = element('td');
      if (interval && typeof library === 'number') bar.append(guarded('The interval', () => drawInterval(quantity)));
      rows.push([element('td', {}, name), element('td', {}, kind.label), number(quantity.value, `${name}.${kind.key}`),
                 ...(interval ?? ['', '']).map((bound) => (bound === '' ? element('td') : number(bound))),
                 library === undefined ? element('td') : number(library), bar]);
    }
  }
  return table(heads.map((head, i) => element('th', {class: i > 1 && i < 6 ? 'number' : null}, head)), rows);
}

const VERDICTS = {
  agrees: 'The library’s numbers agree with this phone',
  differs: 'The library’s numbers differ from this phone’s',
  cannot_tell: 'This session cannot tell whether the library’s numbers hold',
};

function fitVerdict(data) {
  const told = [element('p', {class: 'verdict'}, element('strong', {}, VERDICTS[data.verdict] ?? data.verdict), `: ${data.reason}.`)];
  if (data.diagnosis.length > 0) {
    told.push(element('ul', {class: 'diagnosis'}, ...data.diagnosis.map((code, i) => element('li', {}, element('code', {}, code), ` ${data.advice[i]}.`))));
  }
  if (data.lag_follows !== 'cannot_tell') {
    told.push(element('p', {class: 'soft'}, data.lag_follows === 'exposure'
      ? 'The lag follows the exposure, also beyond the readout; the library’s follows min(exposure, readout).'
      : 'The lag follows min(exposure, readout), as the library’s does.'));
  }
  return told;
}

function axisWords(data, name) {
  const {hall, gain} = data.axes[name];
  const difference = data.difference?.[name];
  return `Image ${name} is driven by ${hall}${gain.value < 0 ? ', mirrored' : ''}${difference
    ? `: its lag is ${fitNumber(difference.lag_us, FIT_QUANTITIES[0])} from the library’s, the lens position off by ` +
      `${fitNumber(difference.position, {digits: 4, unit: ''})} (RMS)` : ''}.`;
}

function showFit(page, data) {
  document.title = 'Fit';
  const {axes} = data;
  const lag = (name) => fitNumber(axes[name].lag_us.value, FIT_QUANTITIES[0]);
  const frames = new Set(data.outliers.map(({frame}) => frame));
  const isOutlier = (row) => frames.has(row[IMAGE.frame]);
  page.append(
    element('header', {}, element('h1', {}, `Fit of ${data.recording ?? data.name}`),
            element('p', {}, `image: ${data.reference ?? MISSING} · min(exposure, readout) is ` +
                             `${fitNumber(data.shorter_us, FIT_QUANTITIES[0])} on average`)),
    figures([['verdict', data.verdict.replace('_', ' ')], ['frames', count(data.frames)], ['left out', count(data.left_out)],
             ['outliers', count(data.outliers.length)], ['lag of image x', lag('x')], ['lag of image y', lag('y')],
             ['lag that the library takes', fitNumber(axes.x.lag_us.library, FIT_QUANTITIES[0])]]),
    section('The verdict', 'verdict', ...fitVerdict(data),
            ...['x', 'y'].filter((name) => axes[name].hall).map((name) => element('p', {class: 'soft'}, axisWords(data, name)))),
    section('The numbers', 'numbers', element('div', {class: 'wide-table'}, quantityTable(axes)),
            element('p', {class: 'soft hint'}, 'The bar is the interval, each on a scale of six of its half-widths; the upright line is ' +
                                               'the library’s number, an arrow points to where it lies beyond the scale.')));
  const pair = (draw) => element('div', {class: 'pair plots'},
    ...['x', 'y'].map((name, i) => guarded(`Image ${name}`, () => draw(name, i))).filter(Boolean));
  const add = (title, id, parts, hint, missing) => page.append(section(title, id, ...(parts.some((part) => part.children.length > 0)
    ? [...parts, element('p', {class: 'soft hint'}, hint)] : [element('p', {class: 'soft'}, missing)])));
  add('Lag against exposure', 'lags', [pair((name, i) => lagPlot(data, name, i, isOutlier))],
      'Points are ten groups of as many frames each, with the gains of all; the solid line is the fit, the dashed one the library’s.',
      data.refused ? 'The fit was refused.' : 'Exposure and readout vary too little, or with time, to tell slope and intercept of the lag apart.');
  add('What other lags leave over', 'search', [pair((name, i) => searchPlot(data, name, i))],
      'Of the best three quarters of the frames. The point is the best lag, the dashed line the lag that the library takes.', 'No lag was tried.');
  const residuals = (column, label, scale) => pair((name, i) => residualPlot(data, name, i, column, label, scale, isOutlier));
  add('What the fit leaves over', 'residuals', [residuals(IMAGE.seconds, 'time, s', 1), residuals(IMAGE.exposure, 'exposure, ms', 0.001)],
      'In units of the image. Crosses are outliers, which count for nothing; those at the edge lie beyond it.', 'No frame was fitted.');
  if (data.images.length === 0) return;
  const plots = new ImagePlots(data.images);
  page.append(section('The image, measured and fitted', 'image', plots.element, outlierButtons(data, plots),
                      element('p', {class: 'soft hint'}, 'Points are measured, the line is where the fit expects the image. Drag to zoom, double click for all.')));
  plots.draw();
  for (const query of ['(prefers-color-scheme: dark)', 'print']) matchMedia(query).addEventListener('change', () => plots.draw());
}

// The outliers, each of which leads to its frame in the image.
function outlierButtons(data, plots) {
  if (data.outliers.length === 0) return '';
  const shown = data.outliers.slice(0, SHOWN_OUTLIERS);
  const more = data.outliers.length - shown.length;
  return element('p', {class: 'bar'}, element('span', {class: 'soft'}, 'Outliers'),
                 ...shown.map(({frame}) => button(String(frame), `show frame ${frame}`, () => plots.goTo(frame))),
                 ...(more > 0 ? [element('span', {class: 'soft'}, `and ${count(more)} more`)] : []));
}

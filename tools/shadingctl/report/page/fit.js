'use strict';
// A fit: its verdict and quantities beside the library's numbers, the lag against the exposure, what other lags leave
// over, what the fit leaves over in each frame, and the image that was measured with the one that the fit expects.

const FIT_PLOT = {height: 300, left: 64, right: 30, top: 26, bottom: 42};
const IMAGE = {frame: 0, seconds: 1, exposure: 2, slopeBy: 3, measured: 4, fitted: 6, byLag: 8};  // of a row; then y
const LAG_GROUPS = 10;
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

function rangeOf(values, room = 0.06) {
  const [least, most] = extentOf(values);
  const margin = (most - least) * room || Math.abs(most) * room || 1;
  return [least - margin, most + margin];
}

// A plot's frame with its scales; `title` names what stands above it.
class FitPlot {
  constructor(title, xRange, yRange, xLabel, yLabel) {
    const {height, left, right, top, bottom} = FIT_PLOT;
    const width = this.width = pictureWidth(640);
    this.title = title;
    this.x = (value) => left + (value - xRange[0]) / (xRange[1] - xRange[0]) * (width - left - right);
    this.y = (value) => height - bottom - (value - yRange[0]) / (yRange[1] - yRange[0]) * (height - top - bottom);
    this.parts = [];
    const text = (at, digits) => fitNumber(at, {digits, unit: ''});
    const across = ticksOf(xRange, width < 500 ? 3 : 5);
    for (const at of across.ticks) {
      const x = this.x(at).toFixed(1);
      this.add('path', {d: `M${x} ${top}V${height - bottom}`, class: 'line'});
      this.add('text', {x, y: height - bottom + 16, 'text-anchor': 'middle'}, text(at, across.digits));
    }
    const upward = ticksOf(yRange, 5);
    for (const at of upward.ticks) {
      this.add('path', {d: `M${left} ${this.y(at).toFixed(1)}H${width - right}`, class: 'line'});
      this.add('text', {x: left - 8, y: (this.y(at) + 4).toFixed(1), 'text-anchor': 'end'}, text(at, upward.digits));
    }
    this.add('text', {x: width - right, y: height - 6, 'text-anchor': 'end', class: 'ink'}, xLabel);
    this.add('text', {x: left, y: top - 10, class: 'ink'}, yLabel);
  }

  add(name, attributes, ...children) { this.parts.push(svg(name, attributes, ...children)); }

  curve(points, style) {
    this.add('path', {d: `M${points.map(([x, y]) => `${this.x(x).toFixed(1)} ${this.y(y).toFixed(1)}`).join('L')}`, class: style});
  }

  point([x, y], title) {
    this.add('circle', {cx: this.x(x).toFixed(1), cy: this.y(y).toFixed(1), r: 4, class: 'fill'}, svg('title', {}, title));
  }

  // `told`: what the picture shows, for those who do not see it.
  element(told) {
    const {width} = this;
    return element('div', {}, element('h3', {}, this.title),
                   svg('svg', {class: 'chart', viewBox: `0 0 ${width} ${FIT_PLOT.height}`, role: 'img', 'aria-label': `${this.title}: ${told}`},
                       ...this.parts));
  }
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

// The lag of frames that are alike in exposure, with the gains of all: what is left over of them by what 1 us changes.
function lagGroups(data, axis, i, isOutlier) {
  const rows = data.images.filter((row) => !isOutlier(row)).sort((a, b) => a[IMAGE.slopeBy] - b[IMAGE.slopeBy]);
  const groups = [];
  for (let group = 0; group < LAG_GROUPS; ++group) {
    const some = rows.slice(Math.floor(group * rows.length / LAG_GROUPS), Math.floor((group + 1) * rows.length / LAG_GROUPS));
    const sum = (of) => some.reduce((total, row) => total + of(row), 0);
    const at = sum((row) => row[IMAGE.slopeBy]) / some.length;
    const squares = sum((row) => row[IMAGE.byLag + i] ** 2);
    if (!(squares > 0)) continue;
    const extra = sum((row) => row[IMAGE.byLag + i] * (row[IMAGE.measured + i] - row[IMAGE.fitted + i])) / squares;
    const lag = axis.lag_slope.value * at + axis.lag_intercept_us.value + extra;
    groups.push({at, lag, half: 1.96 * axis.residual.value / Math.sqrt(squares)});
  }
  return groups;
}

function lagPlot(data, name, i, isOutlier) {
  const axis = data.axes[name];
  if (!axis.lag_slope.interval) return null;
  const groups = lagGroups(data, axis, i, isOutlier);
  const isByExposure = data.lag_follows === 'exposure';
  const library = (at) => axis.lag_slope.library * (isByExposure ? Math.min(at, data.readout_us) : at) + axis.lag_intercept_us.library;
  const fitted = (at) => axis.lag_slope.value * at + axis.lag_intercept_us.value;
  const xRange = rangeOf(groups.map(({at}) => at));
  const corners = isByExposure && xRange[0] < data.readout_us && data.readout_us < xRange[1] ? [xRange[0], data.readout_us, xRange[1]] : xRange;
  const yRange = rangeOf([...groups.flatMap(({lag, half}) => [lag - half, lag + half]), ...corners.map(library), ...xRange.map(fitted)]);
  const plot = new FitPlot(`Image ${name}`, xRange, yRange, isByExposure ? 'exposure, µs' : 'min(exposure, readout), µs', 'lag, µs');
  plot.curve(corners.map((at) => [at, library(at)]), 'library');
  plot.curve(xRange.map((at) => [at, fitted(at)]), 'trace');
  for (const {at, lag, half} of groups) {
    plot.curve([[at, lag - half], [at, lag + half]], 'range');
    plot.point([at, lag], `${fitNumber(lag, FIT_QUANTITIES[0])} at ${fitNumber(at, FIT_QUANTITIES[0])}`);
  }
  return plot.element(`the lag is fitted as ${fitNumber(axis.lag_slope.value, {digits: 4})} of the exposure and ` +
                      `${fitNumber(axis.lag_intercept_us.value, FIT_QUANTITIES[0])}`);
}

function searchPlot(data, name, i) {
  const axis = data.axes[name];
  if (data.search.length === 0) return null;
  const points = data.search.map((row) => [row[0], row[1 + i]]);
  const best = points.reduce((nearest, point) => Math.abs(point[0] - axis.lag_us.value) < Math.abs(nearest[0] - axis.lag_us.value) ? point : nearest);
  const xRange = [points[0][0], points.at(-1)[0]];
  const yRange = [0, 1.06 * extentOf(points.map(([, share]) => share))[1]];
  const plot = new FitPlot(`Image ${name}`, xRange, yRange, 'lag, µs', 'left over, share of the motion');
  plot.curve([[axis.lag_us.library, yRange[0]], [axis.lag_us.library, yRange[1]]], 'library');
  plot.curve(points, 'trace');
  plot.point(best, `${fitNumber(best[0], FIT_QUANTITIES[0])}`);
  return plot.element(`least is left over at a lag of ${fitNumber(best[0], FIT_QUANTITIES[0])}`);
}

// What the fit leaves over in each frame. Outliers are marked, at the edge where they lie beyond it.
function residualPlot(data, name, i, column, label, scale, isOutlier) {
  const residual = (row) => row[IMAGE.measured + i] - row[IMAGE.fitted + i];
  if (data.images.length === 0) return null;
  const reach = 8 * data.axes[name].residual.value || 1;
  const plot = new FitPlot(`Image ${name}`, rangeOf(data.images.map((row) => scale * row[column])), [-1.1 * reach, 1.1 * reach], label, 'left over');
  const place = (row) => `${plot.x(scale * row[column]).toFixed(1)} ${plot.y(Math.max(-reach, Math.min(reach, residual(row)))).toFixed(1)}`;
  plot.add('path', {d: data.images.filter((row) => !isOutlier(row)).map((row) => `M${place(row)}h0`).join(''), class: 'dots'});
  for (const row of data.images.filter(isOutlier)) {
    plot.add('path', {d: `M${place(row)}m-4 -4l8 8m0 -8l-8 8`, class: 'outlier'},
             svg('title', {}, `frame ${row[IMAGE.frame]}: ${fitNumber(residual(row), {digits: 4})}`));
  }
  return plot.element(`${count(data.images.length)} frames, ${count(data.outliers.length)} of them outliers`);
}

// Both curves of one axis; the plots take their colours from the page's.
class ImagePlot {
  constructor(images, name, i) {
    this.element = element('div', {class: 'plot image', role: 'img', 'aria-label': `image ${name} of ${count(images.length)} frames, measured and fitted`});
    this.options = {
      labels: ['frame', `measured ${name}`, `fitted ${name}`], ylabel: `image ${name}`, legend: 'never', strokeWidth: 1.2,
      series: {[`measured ${name}`]: {drawPoints: true, pointSize: 1.6, strokeWidth: 0}}, highlightCircleSize: 0,
      axes: {y: {axisLabelWidth: 56}},
    };
    this.rows = images.map((row) => [row[IMAGE.frame], row[IMAGE.measured + i], row[IMAGE.fitted + i]]);
  }

  draw() {
    const palette = paletteOf(document.documentElement);
    this.graph?.destroy();
    this.graph = new Dygraph(this.element, this.rows, {
      ...this.options, colors: [palette.sample, palette.focus], axisLineColor: palette.line, gridLineColor: palette.line,
    });
  }
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
  const plots = ['x', 'y'].map((name, i) => new ImagePlot(data.images, name, i));
  page.append(section('The image, measured and fitted', 'image', ...plots.map((plot) => plot.element),
                      element('p', {class: 'soft hint'}, 'Points are measured, the line is where the fit expects the image. Drag to zoom, double click for all.')));
  const draw = () => plots.forEach((plot) => plot.draw());
  draw();
  for (const query of ['(prefers-color-scheme: dark)', 'print']) matchMedia(query).addEventListener('change', draw);
}

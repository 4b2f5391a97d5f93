'use strict';
// A fit: its quantities beside the library's numbers, the lag against the exposure, what other lags leave over, and the
// image that was measured with the one that the fit expects.

const FIT_PLOT = {width: 640, height: 300, left: 64, right: 30, top: 26, bottom: 42};
const FIT_QUANTITIES = [
  {key: 'lag_us', label: 'lag', unit: 'µs', digits: 0},
  {key: 'lag_slope', label: 'its slope', unit: '', digits: 4},
  {key: 'lag_intercept_us', label: 'its intercept', unit: 'µs', digits: 0},
  {key: 'gain', label: 'gain', unit: '', digits: 4},
  {key: 'cross_talk', label: 'cross-talk', unit: '', digits: 4},
  {key: 'residual', label: 'residual', unit: '', digits: 4},
  {key: 'residual_share', label: 'residual / motion', unit: '', digits: 4},
];

function fitNumber(value, {digits, unit}) {
  if (value === null || value === undefined) return MISSING;
  const [whole, rest] = Math.abs(value).toFixed(digits).split('.');
  const isZero = !/[1-9]/.test(whole + (rest ?? ''));
  return `${value < 0 && !isZero ? '−' : ''}${grouped(whole)}${rest ? `.${rest}` : ''}${unit ? `\u00a0${unit}` : ''}`;
}

function holdsLibrary({interval, library}) {
  return interval[0] <= library && library <= interval[1];
}

// Round numbers in the range, some five of them.
function ticksOf([from, to]) {
  const rough = (to - from) / 5;
  const power = 10 ** Math.floor(Math.log10(rough));
  const step = power * [1, 2, 5, 10].find((factor) => factor * power >= rough);
  const ticks = [];
  for (let i = Math.ceil(from / step); i * step <= to; ++i) ticks.push(i * step);
  return {ticks, digits: Math.max(0, -Math.floor(Math.log10(step) + 1e-9))};
}

function rangeOf(values, room = 0.06) {
  const [least, most] = [Math.min(...values), Math.max(...values)];
  const margin = (most - least) * room || Math.abs(most) * room || 1;
  return [least - margin, most + margin];
}

// A plot's frame with its scales; `title` names what stands above it.
class FitPlot {
  constructor(title, xRange, yRange, xLabel, yLabel) {
    const {width, height, left, right, top, bottom} = FIT_PLOT;
    this.title = title;
    this.x = (value) => left + (value - xRange[0]) / (xRange[1] - xRange[0]) * (width - left - right);
    this.y = (value) => height - bottom - (value - yRange[0]) / (yRange[1] - yRange[0]) * (height - top - bottom);
    this.parts = [];
    const text = (at, digits) => fitNumber(at, {digits, unit: ''});
    const across = ticksOf(xRange);
    for (const at of across.ticks) {
      this.add(`<path d="M${this.x(at).toFixed(1)} ${top}V${height - bottom}" class="line"/>` +
               `<text x="${this.x(at).toFixed(1)}" y="${height - bottom + 16}" text-anchor="middle">${text(at, across.digits)}</text>`);
    }
    const upward = ticksOf(yRange);
    for (const at of upward.ticks) {
      this.add(`<path d="M${left} ${this.y(at).toFixed(1)}H${width - right}" class="line"/>` +
               `<text x="${left - 8}" y="${(this.y(at) + 4).toFixed(1)}" text-anchor="end">${text(at, upward.digits)}</text>`);
    }
    this.add(`<text x="${width - right}" y="${height - 6}" text-anchor="end" class="ink">${xLabel}</text>` +
             `<text x="${left}" y="${top - 10}" class="ink">${yLabel}</text>`);
  }

  add(part) { this.parts.push(part); }

  curve(points, style) {
    this.add(`<path d="M${points.map(([x, y]) => `${this.x(x).toFixed(1)} ${this.y(y).toFixed(1)}`).join('L')}" class="${style}"/>`);
  }

  element() {
    const {width, height} = FIT_PLOT;
    const part = element('div', {}, element('h3', {}, this.title));
    part.insertAdjacentHTML('beforeend', `<svg class="chart" viewBox="0 0 ${width} ${height}" role="img" ` +
                                         `aria-label="${this.title}">${this.parts.join('')}</svg>`);
    return part;
  }
}

// The interval with its value, and the library's number as an upright line.
function drawInterval({value, interval, library}) {
  const width = 180;
  const range = rangeOf([...interval, library]);
  const x = (at) => (6 + (at - range[0]) / (range[1] - range[0]) * (width - 12)).toFixed(1);
  return `<svg class="interval" viewBox="0 0 ${width} 18" width="${width}" height="18" role="img" aria-label="interval">` +
         `<path d="M${x(interval[0])} 9H${x(interval[1])}" class="range"/><circle cx="${x(value)}" cy="9" r="4" class="value"/>` +
         `<path d="M${x(library)} 1V17" class="library"/></svg>`;
}

function quantityTable(axes) {
  const heads = ['image', '', 'value', '95 % from', 'to', 'library', '', ''];
  const table = element('table', {}, element('tr', {}, ...heads.map((head, i) => element('th', {class: i > 1 && i < 6 ? 'number' : null}, head))));
  for (const name of ['x', 'y']) {
    for (const kind of FIT_QUANTITIES) {
      const quantity = axes[name][kind.key];
      const {interval, library} = quantity;
      const number = (value, key) => element('td', {class: 'number', 'data-key': key}, fitNumber(value, kind));
      const isCompared = interval && typeof library === 'number';
      const bar = element('td');
      if (isCompared) bar.insertAdjacentHTML('beforeend', drawInterval(quantity));
      table.append(element('tr', {}, element('td', {}, name), element('td', {}, kind.label), number(quantity.value, `${name}.${kind.key}`),
                           ...(interval ?? ['', '']).map((bound) => (bound === '' ? element('td') : number(bound))),
                           library === undefined ? element('td') : number(library),
                           element('td', {class: isCompared && !holdsLibrary(quantity) ? 'outside' : null},
                                   isCompared ? (holdsLibrary(quantity) ? 'inside' : 'outside') : ''), bar));
    }
  }
  return table;
}

function lagPlot(data, name, i) {
  const axis = data.axes[name];
  const groups = data.groups.filter((group) => group[1 + i]).map((group) => ({at: group[0], lag: group[1 + i]}));
  if (groups.length === 0) return null;
  const library = (at) => axis.lag_slope.library * at + axis.lag_intercept_us.library;
  const fitted = (at) => axis.lag_slope.value * at + axis.lag_intercept_us.value;
  const xRange = rangeOf(groups.map(({at}) => at));
  const yRange = rangeOf([...groups.flatMap(({lag}) => lag), ...xRange.map(library), ...xRange.map(fitted)]);
  const plot = new FitPlot(`Image ${name}`, xRange, yRange, 'min(exposure, readout), µs', 'lag, µs');
  plot.curve(xRange.map((at) => [at, library(at)]), 'library');
  plot.curve(xRange.map((at) => [at, fitted(at)]), 'trace');
  for (const {at, lag: [value, low, high]} of groups) {
    plot.curve([[at, low], [at, high]], 'range');
    plot.add(`<circle cx="${plot.x(at).toFixed(1)}" cy="${plot.y(value).toFixed(1)}" r="4" class="fill">` +
             `<title>${fitNumber(value, {digits: 0, unit: 'µs'})} at ${fitNumber(at, {digits: 0, unit: 'µs'})}</title></circle>`);
  }
  return plot.element();
}

function searchPlot(data, name, i) {
  const axis = data.axes[name];
  const best = [axis.lag_us.value, axis.residual_share.value];
  const points = [...data.search.map((row) => [row[0], row[1 + i]]), best].sort((a, b) => a[0] - b[0]);
  const xRange = [points[0][0], points.at(-1)[0]];
  const yRange = [0, 1.06 * Math.max(...points.map(([, share]) => share))];
  const plot = new FitPlot(`Image ${name}`, xRange, yRange, 'lag, µs', 'left over, share of the motion');
  plot.curve([[axis.lag_us.library, yRange[0]], [axis.lag_us.library, yRange[1]]], 'library');
  plot.curve(points, 'trace');
  plot.add(`<circle cx="${plot.x(best[0]).toFixed(1)}" cy="${plot.y(best[1]).toFixed(1)}" r="4" class="fill"/>`);
  return plot.element();
}

// Both curves of one axis; the plots take their colours from the page's.
class ImagePlot {
  constructor(images, name, i) {
    this.element = element('div', {class: 'plot'});
    this.options = {
      labels: ['frame', `measured ${name}`, `fitted ${name}`], ylabel: `image ${name}`, legend: 'never', strokeWidth: 1.2,
      series: {[`measured ${name}`]: {drawPoints: true, pointSize: 1.6, strokeWidth: 0}}, highlightCircleSize: 0,
      axes: {y: {axisLabelWidth: 56}},
    };
    this.rows = images.map((row) => [row[0], row[1 + i], row[3 + i]]);
  }

  draw() {
    const palette = paletteOf(document.documentElement);
    this.graph?.destroy();
    this.graph = new Dygraph(this.element, this.rows, {
      ...this.options, colors: [palette.sample, palette.focus], axisLineColor: palette.line, gridLineColor: palette.line,
    });
  }
}

function fitVerdict(axes) {
  const compared = ['x', 'y'].flatMap((name) => FIT_QUANTITIES.map(({key}) => axes[name][key]))
    .filter(({interval, library}) => interval && typeof library === 'number');
  return compared.every(holdsLibrary) ? 'The library’s numbers lie inside the intervals.'
    : 'The library’s numbers do not all lie inside the intervals: the samples that it takes are not those of the image.';
}

function showFit(page, data) {
  document.title = 'Fit';
  const {axes} = data;
  const lag = (name) => fitNumber(axes[name].lag_us.value, FIT_QUANTITIES[0]);
  const driven = ['x', 'y'].map((name) => `Image ${name} is driven by ${axes[name].hall}` +
                                          `${axes[name].gain.value < 0 ? ', mirrored' : ''}.`);
  page.append(
    element('header', {}, element('h1', {}, `Fit of ${data.recording ?? data.name}`),
            element('p', {}, `image: ${data.reference ?? MISSING} · min(exposure, readout) is ` +
                             `${fitNumber(data.shorter_us, FIT_QUANTITIES[0])} on average`)),
    figures([['frames', count(data.frames)], ['left out', count(data.left_out)], ['lag of image x', lag('x')],
             ['lag of image y', lag('y')], ['lag that the library takes', fitNumber(axes.x.lag_us.library, FIT_QUANTITIES[0])]]),
    section('The numbers', 'numbers', element('p', {}, fitVerdict(axes)), element('p', {class: 'soft'}, driven.join(' ')),
            element('div', {class: 'wide-table'}, quantityTable(axes)),
            element('p', {class: 'soft hint'}, 'The bar is the interval, each on a scale of its own, the upright line the library’s number.')));
  const pair = (draw) => element('div', {class: 'pair plots'}, ...['x', 'y'].map((name, i) => draw(data, name, i)).filter(Boolean));
  const lags = pair(lagPlot);
  if (lags.children.length > 0) {
    page.append(section('Lag against exposure', 'lags', lags, element('p', {class: 'soft hint'},
      'Points are groups of as many frames each, with the gains of all; the solid line is the fit, the dashed one the library’s.')));
  } else {
    page.append(section('Lag against exposure', 'lags', element('p', {class: 'soft'},
      'Exposure and readout vary too little to tell slope and intercept of the lag apart.')));
  }
  page.append(section('What other lags leave over', 'search', pair(searchPlot), element('p', {class: 'soft hint'},
    'The point is the fit, the dashed line the lag that the library takes.')));
  const plots = ['x', 'y'].map((name, i) => new ImagePlot(data.images, name, i));
  page.append(section('The image, measured and fitted', 'image', ...plots.map((plot) => plot.element),
                      element('p', {class: 'soft hint'}, 'Points are measured, the line is where the fit expects the image. Drag to zoom, double click for all.')));
  const draw = () => plots.forEach((plot) => plot.draw());
  draw();
  for (const query of ['(prefers-color-scheme: dark)', 'print']) matchMedia(query).addEventListener('change', draw);
}

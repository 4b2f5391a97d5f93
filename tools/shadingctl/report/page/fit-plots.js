'use strict';
// The pictures of a fit: lag against exposure, other lags, what is left over, and the image itself.

const FIT_PLOT = {height: 300, left: 64, right: 30, top: 26, bottom: 42};
const IMAGE = {frame: 0, seconds: 1, exposure: 2, slopeBy: 3, measured: 4, fitted: 6, byLag: 8};  // of a row; then y
const LAG_GROUPS = 10;

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

// Both axes of the image over the frames, measured and fitted, in plots that share their view.
class ImagePlots {
  constructor(images) {
    this.images = images;
    this.values = element('p', {class: 'values'});
    this.plots = ['x', 'y'].map((name) => element('div', {class: 'plot image', role: 'img',
      'aria-label': `image ${name} of ${count(images.length)} frames, measured and fitted`}));
    this.element = element('div', {}, ...this.plots, this.values);
    this.tell(images[0][IMAGE.frame]);
  }

  draw() {
    const palette = paletteOf(document.documentElement);
    this.graphs?.forEach((graph) => graph.destroy());
    this.graphs = this.plots.map((plot, i) => {
      const name = 'xy'[i];
      const rows = this.images.map((row) => [row[IMAGE.frame], row[IMAGE.measured + i], row[IMAGE.fitted + i]]);
      return new Dygraph(plot, rows, {
        labels: ['frame', `measured ${name}`, `fitted ${name}`], ylabel: `image ${name}`, legend: 'never', strokeWidth: 1.2,
        series: {[`measured ${name}`]: {drawPoints: true, pointSize: 1.6, strokeWidth: 0}}, highlightCircleSize: 3,
        axes: {y: {axisLabelWidth: 56}}, colors: [palette.sample, palette.focus], axisLineColor: palette.line, gridLineColor: palette.line,
        highlightCallback: (event, frame) => this.tell(frame),
        zoomCallback: (from, to) => this.show([from, to]),
      });
    });
  }

  show(dateWindow) {
    for (const graph of this.graphs) graph.updateOptions({dateWindow});
  }

  // Shows a frame among its neighbours.
  goTo(frame) {
    this.show([frame - 25, frame + 25]);
    this.tell(frame);
    this.element.scrollIntoView({block: 'center'});
  }

  tell(frame) {
    const row = this.images.find((one) => one[IMAGE.frame] === frame);
    if (!row) return;
    const value = (column) => fitNumber(row[column], {digits: 3});
    const values = ['x', 'y'].map((name, i) => `${name} measured ${value(IMAGE.measured + i)}, fitted ${value(IMAGE.fitted + i)}`);
    const exposure = `exposure ${microseconds(row[IMAGE.exposure])}`;
    this.values.replaceChildren([`frame ${frame}`, `${row[IMAGE.seconds].toFixed(3)} s`, exposure, ...values].join(' · '));
  }
}

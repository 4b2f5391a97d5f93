'use strict';
// Hall X and Y of all samples over time, with each frame's span and position, and lanes below them: all share one view.

const LEAST_VIEW_US = 200;

// The page's colours of now: they follow the system and the printer.
function paletteOf(element) {
  const style = getComputedStyle(element);
  const names = ['surface', 'sample', 'second', 'ink', 'soft', 'line', 'focus', ...KINDS.map((kind) => kind.key)];
  return Object.fromEntries(names.map((name) => [name, style.getPropertyValue(`--${name}`).trim()]));
}

class Overview {
  // `layers`: one or two of {result, samples, frames, index, shiftUs}; `moved()` is called when another view is drawn.
  constructor(layers, lanes, moved) {
    this.layers = layers;
    this.lanes = lanes;
    this.moved = moved;
    this.chosen = null;
    this.full = this.fullRange();
    this.view = this.full;
    this.graphs = [];
    this.element = element('div', {class: 'plot-stack'});
  }

  fullRange() {
    let [from, to] = [Infinity, -Infinity];
    for (const {samples, frames, shiftUs} of this.layers) {
      const times = frames.length > 0 ? frames.map((frame) => frame.timeUs)
        : samples?.timesUs.length > 0 ? [samples.timesUs[0], samples.timesUs.at(-1)] : [];
      const [least, most] = extentOf(times);
      [from, to] = [Math.min(from, least + shiftUs), Math.max(to, most + shiftUs)];
    }
    if (from > to) return [0, 1e6];
    const room = Math.max(0.01 * (to - from), 20000);
    return [from - room, to + room];
  }

  // The page holds the element by now.
  draw() {
    this.palette = paletteOf(document.documentElement);
    for (const axis of ['x', 'y']) {
      const plot = element('div', {class: `plot ${axis === 'y' ? 'with-axis' : ''}`, role: 'img', 'aria-label': this.told(axis)});
      const label = element('span', {class: 'lane-label'}, `hall ${axis}`);
      this.element.append(element('div', {class: 'plot-part'}, plot, label));
      this.graphs.push(this.makeGraph(plot, axis));
    }
    this.element.append(...this.lanes.map((lane) => lane.element));
    this.drawLanes();
  }

  told(axis) {
    const samples = this.layers.map(({samples: some}) => `${count(some?.timesUs.length ?? 0)} samples`).join(' and ');
    const [least, most] = this.valueRange(axis, 0);
    const [from, to] = this.full.map((us) => seconds(us, 2));
    return `hall ${axis} of ${samples} from ${from} to ${to} s, between ${position(least)} and ${position(most)}`;
  }

  // Of one layer a list of [time, value], of two with the other's value null; NaN opens the line.
  rows(axis) {
    const [from, to] = this.view;
    const margin = 0.25 * (to - from);  // for a drag until it is drawn anew
    const width = Math.max(this.element.clientWidth, 300);
    const rows = [];
    this.layers.forEach(({samples, shiftUs}, layer) => {
      if (!samples) return;
      const gapUs = Math.max(GAP * samples.intervals.medianUs, 2 * (to - from) / width);
      const row = (us, value) => [us + shiftUs, ...this.layers.map((_, i) => (i === layer ? value : null))];
      samples[axis].draw(from - margin - shiftUs, to + margin - shiftUs, 3 * width / 2, gapUs, (us, value) => rows.push(row(us, value)));
    });
    if (this.layers.length > 1) rows.sort((a, b) => a[0] - b[0]);
    return rows.length > 0 ? rows : this.view.map((us) => [us, ...this.layers.map(() => null)]);
  }

  valueRange(axis, roomShare = 0.08) {
    const ranges = this.layers.map(({samples, frames}) => samples?.[axis].range() ?? extentOf(
      frames.map((frame) => frame[`hall_${axis}`]).filter((value) => typeof value === 'number')));
    const [least, most] = extentOf(ranges.flat());
    if (least > most) return [-1, 1];
    const room = roomShare === 0 ? 0 : Math.max(roomShare * (most - least), 0.5);
    return [least - 2 * room, most + room];
  }

  colours() {
    return {colors: [this.palette.sample, this.palette.second].slice(0, this.layers.length), axisLineColor: this.palette.line,
            gridLineColor: this.palette.line};
  }

  makeGraph(plot, axis) {
    const second = `hall ${axis} of the second`;
    const isNarrow = this.element.clientWidth < 600;
    return new Dygraph(plot, this.rows(axis), {
      ...this.colours(),
      labels: ['time', `hall ${axis}`, second].slice(0, this.layers.length + 1),
      series: this.layers.length > 1 ? {[second]: {strokePattern: [7, 3]}} : {},
      strokeWidth: 1.2,
      connectSeparatedPoints: true,
      dateWindow: this.view,
      valueRange: this.valueRange(axis),
      legend: 'never',
      highlightCircleSize: 0,
      yRangePad: 0,
      xRangePad: 0,
      rightGap: 1,
      xAxisHeight: 20,
      axes: {
        x: {drawAxis: axis === 'y', axisLabelFormatter: (us) => this.timeText(us), axisLabelWidth: 84},
        y: {axisLabelWidth: isNarrow ? 82 : 96, pixelsPerLabel: 26,
            axisLabelFormatter: (value) => String(Number(value.toPrecision(6))).replace(/^-/, '−')},
      },
      underlayCallback: (canvas, area) => drawBands(canvas, area, this),
      interactionModel: {},
      plugins: [{activate: () => ({didDrawChart: ({drawingContext, dygraph}) => {
        const zero = dygraph.toDomYCoord(0);
        const scale = dygraph.toDomYCoord(1) - zero;
        drawPositions(drawingContext, dygraph.getArea(), axis, (value) => zero + value * scale, this);
      }})}],
    });
  }

  timeText(us) {
    const stepUs = (this.view[1] - this.view[0]) / 8;
    const digits = Math.min(Math.max(Math.ceil(-Math.log10(stepUs / 1e6)), 0), 6);
    return `${seconds(us, digits)} s`;
  }

  // The plots' part of the element, in px from its left edge.
  area() {
    const {x, w} = this.graphs[0].getArea();
    return {left: x, width: Math.max(w, 1)};
  }

  timeAt(clientX) {
    const {left, width} = this.area();
    const share = (clientX - this.element.getBoundingClientRect().left - left) / width;
    return this.view[0] + Math.min(Math.max(share, 0), 1) * (this.view[1] - this.view[0]);
  }

  placeAt(us) {
    const {left, width} = this.area();
    return left + (us - this.view[0]) / (this.view[1] - this.view[0]) * width;
  }

  // Shows a range in all plots, with as many samples as their width can tell apart.
  show([from, to]) {
    const length = Math.min(Math.max(to - from, LEAST_VIEW_US), this.full[1] - this.full[0]);
    const begin = Math.min(Math.max((from + to - length) / 2, this.full[0]), this.full[1] - length);
    this.view = [begin, begin + length];
    if (this.isWaiting) return;
    this.isWaiting = true;
    requestAnimationFrame(() => {
      this.isWaiting = false;
      this.redraw();
    });
  }

  // Shrinks the drawn plots to a width, or back: Chromium prints canvases blank that change their size for the paper.
  fitInto(width) {
    this.element.style.zoom = width === null ? '' : Math.min(width / this.element.clientWidth, 1);
  }

  redraw() {
    const begin = performance.now();
    this.palette = paletteOf(document.documentElement);
    this.graphs.forEach((graph, i) => graph.updateOptions({file: this.rows('xy'[i]), dateWindow: this.view, ...this.colours()}));
    this.drawLanes();
    this.moved();
    performance.measure('redraw', {start: begin});
  }

  drawLanes() {
    for (const lane of this.lanes) lane.draw(this);
  }

  zoom(factor, at = (this.view[0] + this.view[1]) / 2) {
    this.show([at - (at - this.view[0]) * factor, at + (this.view[1] - at) * factor]);
  }

  pan(share) {
    const byUs = share * (this.view[1] - this.view[0]);
    this.show([this.view[0] + byUs, this.view[1] + byUs]);
  }

  // Marks a frame, and brings it into view.
  mark(frame) {
    this.chosen = frame;
    const at = frame.timeUs + this.layers[0].shiftUs;
    const [from, to] = this.view;
    this.show(at < from || at > to ? [at - (to - from) / 2, at + (to - from) / 2] : this.view);
  }
}

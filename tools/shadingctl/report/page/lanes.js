'use strict';
// Lanes below the plots: what a plot of positions cannot show, and when things happened.

const LANE_PLOT = {height: 52, top: 5, bottom: 5};  // px
const NEAR_US = 25000;  // a value of a frame further away is not that of the pointer's time
const EVENT_ROW = 15;  // px of a row of events

// A canvas as wide as the plots; `label` stands beside it, `told` says what the picture shows.
class Lane {
  constructor(label, height, told, title = null) {
    this.height = height;
    this.canvas = element('canvas', {});
    this.element = element('div', {class: 'lane', role: 'img', 'aria-label': told, title}, this.canvas,
                           element('span', {class: 'lane-label'}, ...label));
    this.element.style.height = `${height}px`;
  }

  draw(overview) {
    const ratio = window.devicePixelRatio || 1;
    const width = overview.element.clientWidth;
    this.canvas.width = width * ratio;
    this.canvas.height = this.height * ratio;
    this.canvas.style.width = `${width}px`;
    this.canvas.style.height = `${this.height}px`;
    const context = this.canvas.getContext('2d');
    context.scale(ratio, ratio);
    const {left, width: inner} = overview.area();
    context.font = `12px ${getComputedStyle(this.element).fontFamily}`;
    context.save();
    context.beginPath();
    context.rect(left, 0, inner, this.height);
    context.clip();
    this.paint(context, overview, (us) => overview.placeAt(us));
    context.restore();
    this.paintScale?.(context, overview, left);
  }
}

// Values over time. `series`: one for each layer of the plots, or null; `range`: of the values that are told apart, others
// stand at its edge; `frames`: those whose values these are, which gives them the colours of their kinds.
class ValueLane extends Lane {
  constructor({name, unit, meaning, series, range, frames, format}) {
    super([name, ' ', element('span', {class: 'soft'}, unit)], LANE_PLOT.height,
          `${name}: ${meaning}, ${unit}, from ${format(range[0])} to ${format(range[1])}`, meaning);
    Object.assign(this, {name, unit, series, range, frames, format});
  }

  y(value) {
    const {height, top, bottom} = LANE_PLOT;
    const [least, most] = this.range;
    const share = (Math.min(Math.max(value, least), most) - least) / (most - least || 1);
    return height - bottom - share * (height - top - bottom);
  }

  paint(context, overview, x) {
    const {view: [from, to], layers, palette} = overview;
    const {width} = overview.area();
    context.fillStyle = palette.line;
    for (const edge of [this.range[0] <= 0 && 0 <= this.range[1] ? 0 : this.range[0]]) context.fillRect(0, this.y(edge), 1e4, 1);
    this.series.forEach((series, layer) => {
      if (!series) return;
      const {shiftUs} = layers[layer];
      const colour = layer > 0 ? palette.second : palette.sample;
      context.strokeStyle = context.fillStyle = colour;
      if (this.frames) return this.paintDots(context, series, this.frames[layer], x, {from, to, shiftUs, palette, layer, width});
      let last = null;  // a value holds until the next one
      context.beginPath();
      series.draw(from - shiftUs, to - shiftUs, width, Infinity, (us, value) => {
        if (last === null) context.moveTo(x(us + shiftUs), this.y(value));
        else context.lineTo(x(us + shiftUs), last);
        last = this.y(value);
        context.lineTo(x(us + shiftUs), last);
      });
      return context.stroke();
    });
  }

  // The least and greatest of each pixel; a frame's kind gives the colour.
  paintDots(context, series, frames, x, {from, to, shiftUs, palette, layer, width}) {
    let last = -1;
    series.draw(from - shiftUs, to - shiftUs, width, Infinity, (us, value) => {
      const at = lowerBound(series.timesUs, us);
      const pixel = Math.round(x(us + shiftUs)) * 256 + Math.round(this.y(value));
      if (pixel === last) return;
      last = pixel;
      context.fillStyle = palette[frames[at].kind];
      if (layer === 0) context.fillRect(x(us + shiftUs) - 1.25, this.y(value) - 1.25, 2.5, 2.5);
      else context.strokeRect(x(us + shiftUs) - 1.5, this.y(value) - 1.5, 3, 3);
    });
  }

  paintScale(context, {palette, element: plots}, left) {
    if (plots.clientWidth < 600) return;
    context.fillStyle = palette.soft;
    context.textAlign = 'right';
    context.fillText(this.format(this.range[1]), left - 5, LANE_PLOT.top + 8);
    context.fillText(this.format(this.range[0]), left - 5, LANE_PLOT.height - LANE_PLOT.bottom + 1);
  }

  // The value at a time, of the first layer: an interval that goes on then, or that of a frame near by.
  at(us, shiftUs) {
    const series = this.series[0];
    if (!series || series.timesUs.length === 0) return null;
    if (!this.frames) return series.values[Math.max(lowerBound(series.timesUs, us - shiftUs + 1e-3) - 1, 0)];
    const nearest = nearestIndex(series.timesUs, us - shiftUs);
    return Math.abs(series.timesUs[nearest] - us + shiftUs) < NEAR_US ? series.values[nearest] : null;
  }
}

// Rows of what happened when: `rows` of {name, colour, intervals: [{fromUs, toUs}]}.
class EventLane extends Lane {
  constructor(rows) {
    super([], rows.length * EVENT_ROW + 4, `when it happened: ${rows.map(({name, intervals}) => `${name} ${intervals.length} times`).join(', ')}`);
    this.rows = rows;
    this.element.append(...rows.map(({name}, i) => {
      const label = element('span', {class: 'event-label'}, name);
      label.style.top = `${i * EVENT_ROW + 1}px`;
      return label;
    }));
  }

  paint(context, {palette, view: [from, to]}, x) {
    this.rows.forEach(({colour, intervals}, i) => {
      context.fillStyle = palette.line;
      context.globalAlpha = 0.5;
      context.fillRect(0, i * EVENT_ROW + 3, 1e4, EVENT_ROW - 5);
      context.globalAlpha = 1;
      context.fillStyle = palette[colour];
      let drawnTo = -Infinity;
      for (const {fromUs, toUs} of intervals) {
        if (toUs < from || fromUs > to) continue;
        const [left, right] = [x(fromUs), Math.max(x(toUs), x(fromUs) + 2)];
        if (right <= drawnTo) continue;
        context.fillRect(left, i * EVENT_ROW + 3, right - left, EVENT_ROW - 5);
        drawnTo = right;
      }
    });
  }

  // The names of what happens at a time, give or take.
  at(us, slackUs) {
    return this.rows.filter(({intervals}) => intervals.some(({fromUs, toUs}) => fromUs - slackUs <= us && us <= toUs + slackUs))
      .map(({name}) => name);
  }
}

// A lane of the frames' values; null where none has one.
function frameLane({name, unit, meaning, valueOf, format}, layers) {
  const parts = layers.map(({index}) => index.frames.map((frame) => ({frame, value: valueOf(frame)}))
    .filter(({value}) => typeof value === 'number'));
  if (parts.every((part) => part.length === 0)) return null;
  const series = parts.map((part) => new Series(Float64Array.from(part, ({frame}) => readoutPlace(frame).toUs),
                                                Float64Array.from(part, ({value}) => value)));
  const [low, high] = extentOf(series.flatMap((one) => one.range() ?? []));
  return new ValueLane({name, unit, meaning, series, range: [Math.min(low, 0), Math.max(high, 0)], format, frames: parts.map((part) => part.map(({frame}) => frame))});
}

// How much later than the end of the readout the newest sample of the window is.
function leadOf({window_us: window, start_of_frame_us: start, readout_us: readout}) {
  return window && typeof start === 'number' && typeof readout === 'number' ? window[1] - start - readout : null;
}

function intervalLane(layers) {
  if (layers.every(({samples}) => !(samples?.intervals.medianUs > 0))) return null;
  const medianUs = Math.max(...layers.map(({samples}) => samples?.intervals.medianUs ?? 0));
  return new ValueLane({name: 'interval', unit: 'ms', meaning: 'time to the next sample, cut at four medians', range: [0, 4 * medianUs],
                        series: layers.map(({samples}) => samples?.intervals.series ?? null), format: inMs});
}

function inMs(us) {
  return (us / 1000).toFixed(Math.abs(us) < 10000 ? 2 : 1).replace(/^-/, '−');
}

function threeDigits(value) {
  return String(Number(value.toPrecision(3)));
}

function valueLanes(layers) {
  return [
    frameLane({name: 'lead', unit: 'ms', meaning: 'how much later than the end of the readout the newest sample of the window is',
               valueOf: leadOf, format: inMs}, layers),
    intervalLane(layers),
    frameLane({name: 'distance', unit: '', meaning: 'how far the position is from the mean of its own readout’s samples',
               valueOf: (frame) => (hasPosition(frame) ? frame.readout_distance : null), format: threeDigits}, layers),
  ].filter(Boolean);
}

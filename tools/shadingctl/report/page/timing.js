'use strict';
// One frame's timing, drawn to scale as an SVG of its own. The page shows it, and docs/frame-timing.svg is made by it.

// Okabe and Ito's palette: told apart with every kind of colour vision.
const TIMING_STYLE = `
.timing{--surface:#fff;--ink:#1c2126;--soft:#5b6570;--line:#d4d9de;--bar:#0072b2;--bar-soft:#9cc7e0;--near:#00795a;
--last:#a86d00;--carried:#c24f00;--none:#a8467f;--quiet:#6b7480;--zone:#e69f00;
font-family:"Inter","Segoe UI",Roboto,"Helvetica Neue",Arial,"Liberation Sans",sans-serif;font-size:13px;
font-variant-numeric:tabular-nums}
@media screen and (prefers-color-scheme:dark){.timing{--surface:#171b20;--ink:#e8ebee;--soft:#a3adb8;--line:#39414a;
--bar:#56b4e9;--bar-soft:#285a78;--near:#2cc79b;--last:#f0b13c;--carried:#ff8a4c;--none:#e49ac4;--quiet:#98a2ad;
--zone:#e69f00}}
.timing .surface{fill:var(--surface)}.timing text{fill:var(--ink)}.timing .soft{fill:var(--soft)}
.timing .name{font-weight:600}.timing .title{font-size:15px;font-weight:600}.timing .grid{stroke:var(--line)}
.timing .edge{stroke:var(--ink);stroke-dasharray:4 3}.timing .bar{fill:var(--bar)}.timing .bar-soft{fill:var(--bar-soft)}
.timing .zone{fill:var(--zone);fill-opacity:.2;stroke:var(--zone);stroke-opacity:.75}
.timing .raw{fill:none;stroke:var(--soft);stroke-width:1.3}.timing .other{fill:var(--soft)}
.timing .track{fill:var(--line)}.timing .arrow{stroke:var(--soft);stroke-width:1.2;fill:none}
.timing .near,.timing .start{fill:var(--near)}.timing .last{fill:var(--last)}.timing .carried{fill:var(--carried)}
.timing .none{fill:var(--none)}.timing .quiet{fill:var(--quiet)}`;

const TIMING_WIDTH = 1000;  // px, unless the page has less room
const TIMING_MARGIN = 20;
const NARROW_TIMING = 620;  // px, below which the names of the rows stand above their bars

// The middles of the rows, in px; beside names and figures there is room from `gutter` on.
const WIDE_ROWS = {gutter: 226, axis: 62, first: 92, last: 118, readout: 144, raw: 206, aligned: 248, span: 318, covered: 346,
                   window: 372, height: 400};
const NARROW_ROWS = {gutter: TIMING_MARGIN, axis: 46, first: 80, last: 118, readout: 156, raw: 224, aligned: 286, span: 374,
                     covered: 410, window: 444, height: 462};

// What the picture shows: the exposure, the readout, both tolerances and the span, in us from the frame timestamp.
function timingExtent(frame, toleranceUs) {
  const timeUs = Math.floor(frame.timeUs);
  const times = [frame.start_of_frame_us - toleranceUs, timeUs + frame.readout_us];
  if (frame.span_us) {
    times.push(...frame.span_us, frame.span_us[0] - toleranceUs, frame.span_us[0] + frame.readout_us + toleranceUs);
  }
  if (frame.offset_us !== null) times.push(frame.start_of_frame_us + frame.readout_us + toleranceUs);
  const from = Math.min(...times) - timeUs;
  const to = Math.max(...times) - timeUs;
  const room = 0.025 * (to - from);
  return {fromUs: from - room, toUs: to + room};
}

// The aligned samples of a range, in us from the frame timestamp.
function alignedSamples(frame, samples, extent) {
  if (!samples || typeof frame.offset_us !== 'number') return [];
  const timeUs = Math.floor(frame.timeUs);
  const firstRawUs = timeUs + extent.fromUs + frame.offset_us;
  const lastRawUs = timeUs + extent.toUs - frame.offset_us;
  const found = [];
  for (let i = lowerBound(samples.timesUs, firstRawUs); i < samples.timesUs.length; ++i) {
    if (samples.timesUs[i] > lastRawUs) break;
    const rawUs = Math.floor(samples.timesUs[i]);
    found.push({rawUs: rawUs - timeUs, alignedUs: rawUs - frame.offset_us - timeUs});
  }
  return found;
}

class TimingDrawing {
  constructor(extent, width) {
    this.extent = extent;
    this.rows = width < NARROW_TIMING ? NARROW_ROWS : WIDE_ROWS;
    this.left = this.rows.gutter;
    this.right = width - TIMING_MARGIN;
    this.svg = svg('svg', {class: 'timing', viewBox: `0 0 ${width} ${this.rows.height}`, role: 'img'});
  }

  x(us) {
    const share = (us - this.extent.fromUs) / (this.extent.toUs - this.extent.fromUs);
    const x = this.left + share * (this.right - this.left);
    return Math.round(100 * Math.min(Math.max(x, this.left), this.right)) / 100;
  }

  includes(us) {
    return us >= this.extent.fromUs && us <= this.extent.toUs;
  }

  add(name, attributes, ...children) {
    this.svg.append(svg(name, attributes, ...children));
  }

  text(x, y, text, attributes = {class: 'soft'}) {
    this.add('text', {x, y, ...attributes}, text);
  }

  // `half`: the height of what is drawn above the row's middle.
  row(y, name, figure, half = 8) {
    const isAbove = this.rows === NARROW_ROWS;
    const base = isAbove ? y - half - 4 : y + 5;
    this.text(TIMING_MARGIN, base, name, {class: 'name'});
    this.text(isAbove ? this.right : this.left - 16, base, figure, {'text-anchor': 'end', class: 'soft'});
  }

  bar(fromUs, toUs, middle, height, type) {
    const x = this.x(fromUs);
    const width = Math.max(Math.round(100 * (this.x(toUs) - x)) / 100, 1);
    this.add('rect', {x, y: middle - height / 2, width, height, rx: 2, class: type});
  }

  vertical(us, from, to, type) {
    this.add('path', {d: `M${this.x(us)} ${from}V${to}`, class: type});
  }

  dots(times, y, r, type) {
    for (const us of times) if (this.includes(us)) this.add('circle', {cx: this.x(us), cy: y, r, class: type});
  }
}

function drawAxis(drawing) {
  const {fromUs, toUs} = drawing.extent;
  const {axis, height} = drawing.rows;
  const {ticks, step} = ticksOf([fromUs, toUs], Math.floor((drawing.right - drawing.left) / 60));
  for (const us of ticks) {
    drawing.vertical(us, axis + 8, height - 18, 'grid');
    const text = (us / 1000).toFixed(step < 1000 ? 1 : 0).replace(/^-/, '−').replace(/^−0$/, '0');
    drawing.text(drawing.x(us), axis, text, {'text-anchor': 'middle', class: 'soft'});
  }
  drawing.text(TIMING_MARGIN, drawing.rows === NARROW_ROWS ? axis - 20 : axis, 'ms from the frame timestamp');
}

// A tolerance around an instant, with the distance of the entry that was found there.
function drawTolerance(drawing, atUs, toleranceUs, label) {
  const y = drawing.rows.aligned - 26;
  const from = drawing.x(atUs - toleranceUs);
  const width = Math.round(100 * (drawing.x(atUs + toleranceUs) - from)) / 100;
  drawing.add('rect', {x: from, y, width, height: 52, class: 'zone'});
  const x = drawing.x(atUs);
  const anchor = x < drawing.left + 60 ? 'start' : x > drawing.right - 60 ? 'end' : 'middle';
  const at = anchor === 'start' ? drawing.left : anchor === 'end' ? drawing.right : x;
  drawing.text(at, y + 68, label, {'text-anchor': anchor, class: 'soft'});
}

// When light falls on the first and the last line, and when they are read.
function drawSensor(drawing, frame, startUs) {
  const {first, last, readout} = drawing.rows;
  const readoutUs = frame.readout_us;
  drawing.row(first, 'first line exposed', milliseconds(frame.exposure_us));
  drawing.bar(startUs, 0, first, 16, 'bar');
  drawing.row(last, 'last line exposed', milliseconds(frame.exposure_us));
  drawing.bar(startUs + readoutUs, readoutUs, last, 16, 'bar-soft');
  drawing.row(readout, 'lines read out', milliseconds(readoutUs));
  drawing.bar(0, readoutUs, readout, 16, 'bar');
  drawing.vertical(0, first - 22, readout + 16, 'edge');
  const isAtEdge = drawing.x(0) > drawing.right - 120;
  drawing.text(drawing.x(0) + (isAtEdge ? -6 : 6), readout + 29, 'frame timestamp',
               {'text-anchor': isAtEdge ? 'end' : null, class: 'soft'});
}

// The samples before and after alignment, with the tolerances behind them.
function drawSamples(drawing, frame, samples, toleranceUs, startUs) {
  const {readout, raw, aligned} = drawing.rows;
  const timeUs = Math.floor(frame.timeUs);
  drawTolerance(drawing, startUs, toleranceUs, typeof frame.start_distance_us === 'number'
    ? `start ${microseconds(frame.start_distance_us)} off` : 'start of frame');
  if (frame.span_us) {
    const targetUs = frame.span_us[0] - timeUs + frame.readout_us;
    const label = typeof frame.end_distance_us === 'number' ? `end ${microseconds(frame.end_distance_us)} off` : 'end';
    const isApart = Math.abs(drawing.x(targetUs) - drawing.x(startUs)) > 130;
    drawTolerance(drawing, targetUs, toleranceUs, isApart ? label : '');
  }
  drawing.vertical(startUs, readout + 16, aligned + 26, 'edge');
  const found = alignedSamples(frame, samples, drawing.extent);
  const spacing = (drawing.right - drawing.left) / Math.max(found.length, 1);
  const radius = Math.round(10 * Math.min(Math.max(0.4 * spacing, 1.2), 4)) / 10;
  drawing.row(raw, 'samples as stamped', samples ? '' : MISSING);
  drawing.dots(found.map((dot) => dot.rawUs), raw, radius, 'raw');
  drawing.row(aligned, 'samples aligned', typeof frame.offset_us === 'number'
    ? `${frame.offset_us > 0 ? '−' : '+'}${milliseconds(Math.abs(frame.offset_us))}` : '', 26);
  // Those of the span last, over repeats of theirs that came too late for it.
  const isInSpan = (us) => frame.span_us && us >= frame.span_us[0] - timeUs && us <= frame.span_us[1] - timeUs;
  const times = found.map((dot) => dot.alignedUs);
  drawing.dots(times.filter((us) => !isInSpan(us)), aligned, radius, 'other');
  drawing.dots(times.filter(isInSpan), aligned, radius + 1, frame.kind);
}

// What the library made of the samples.
function drawSpan(drawing, frame, startUs) {
  const {span, covered, window} = drawing.rows;
  const timeUs = Math.floor(frame.timeUs);
  const [fromUs, toUs] = frame.span_us ? frame.span_us.map((us) => us - timeUs) : [null, null];
  drawing.row(span, 'span', frame.span_us ? `entries ${plain(frame.start_index)} to ${plain(frame.end_index)}` : 'none');
  if (frame.span_us) drawing.bar(fromUs, toUs, span, 16, frame.kind);
  drawing.row(covered, 'readout covered', frame.span_us ? percent(frame.coverage) : MISSING);
  drawing.bar(startUs, startUs + frame.readout_us, covered, 8, 'track');
  if (frame.span_us) {
    const clamp = (us) => Math.min(Math.max(us, startUs), startUs + frame.readout_us);
    if (clamp(toUs) > clamp(fromUs)) drawing.bar(clamp(fromUs), clamp(toUs), covered, 8, frame.kind);
  }
  drawing.row(window, 'window', frame.window_us ? '100 entries' : MISSING);
  if (frame.window_us) drawing.bar(frame.window_us[0] - timeUs, frame.window_us[1] - timeUs, window, 6, 'track');
}

function timingTitle(frame) {
  const how = frame.match === 'start' ? `start, end ${frame.end ?? 'unknown'}` : frame.match;
  return `Frame ${frame.frame}: ${how}`;
}

// The frame's timing; null where the result does not tell its times. `samples` may be null.
function drawTiming(frame, samples, toleranceUs, width = TIMING_WIDTH) {
  if (typeof frame.start_of_frame_us !== 'number' || typeof frame.readout_us !== 'number') return null;
  const startUs = frame.start_of_frame_us - Math.floor(frame.timeUs);
  const drawing = new TimingDrawing(timingExtent(frame, toleranceUs), width);
  drawing.svg.setAttribute('aria-label', `${timingTitle(frame)}, its timing to scale: exposed for ` +
    `${milliseconds(frame.exposure_us)}, read out in ${milliseconds(frame.readout_us)}, ` +
    `${frame.span_us ? `${percent(frame.coverage)} of the readout covered` : 'without a span'}`);
  drawing.add('style', {}, TIMING_STYLE);
  drawing.add('rect', {class: 'surface', width, height: drawing.rows.height, rx: 6});
  if (drawing.rows === WIDE_ROWS) drawing.text(TIMING_MARGIN, 30, timingTitle(frame), {class: 'title'});
  drawAxis(drawing);
  drawSensor(drawing, frame, startUs);
  drawSamples(drawing, frame, samples, toleranceUs, startUs);
  drawSpan(drawing, frame, startUs);
  return drawing.svg;
}

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
const TIMING_GUTTER = 226;  // for the names of the rows and their figures
const TIMING_MARGIN = 20;
const TIMING_HEIGHT = 400;

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

// A step of 1, 2 or 5 times a power of ten with at most `most` ticks.
function tickStep(lengthUs, most) {
  const rough = lengthUs / most;
  const power = 10 ** Math.floor(Math.log10(rough));
  return [1, 2, 5, 10].map((factor) => factor * power).find((step) => step >= rough);
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
    this.width = width;
    this.right = width - TIMING_MARGIN;
    this.parts = [];
  }

  x(us) {
    const share = (us - this.extent.fromUs) / (this.extent.toUs - this.extent.fromUs);
    const x = TIMING_GUTTER + share * (this.right - TIMING_GUTTER);
    return Math.round(100 * Math.min(Math.max(x, TIMING_GUTTER), this.right)) / 100;
  }

  includes(us) {
    return us >= this.extent.fromUs && us <= this.extent.toUs;
  }

  add(text) {
    this.parts.push(text);
  }

  text(x, y, text, attributes = '') {
    this.add(`<text x="${x}" y="${y}"${attributes}>${escapeText(text)}</text>`);
  }

  row(y, name, figure) {
    this.text(TIMING_MARGIN, y + 5, name, ' class="name"');
    this.text(TIMING_GUTTER - 16, y + 5, figure, ' text-anchor="end" class="soft"');
  }

  bar(fromUs, toUs, y, height, type) {
    const x = this.x(fromUs);
    const width = Math.max(Math.round(100 * (this.x(toUs) - x)) / 100, 1);
    this.add(`<rect x="${x}" y="${y}" width="${width}" height="${height}" rx="2" class="${type}"/>`);
  }

  vertical(us, from, to, type) {
    this.add(`<path d="M${this.x(us)} ${from}V${to}" class="${type}"/>`);
  }

  dot(us, y, radius, type) {
    if (this.includes(us)) this.add(`<circle cx="${this.x(us)}" cy="${y}" r="${radius}" class="${type}"/>`);
  }
}

function drawAxis(drawing, y, bottom) {
  const {fromUs, toUs} = drawing.extent;
  const stepUs = tickStep(toUs - fromUs, (drawing.right - TIMING_GUTTER) / 60);
  const digits = stepUs < 1000 ? 1 : 0;
  for (let us = Math.ceil(fromUs / stepUs) * stepUs; us <= toUs; us += stepUs) {
    drawing.vertical(us, y + 8, bottom, 'grid');
    drawing.text(drawing.x(us), y, (us / 1000).toFixed(digits).replace(/^-/, '−').replace(/^−0$/, '0'),
                 ' text-anchor="middle" class="soft"');
  }
  drawing.text(TIMING_MARGIN, y, 'ms from the frame timestamp', ' class="soft"');
}

// A tolerance around an instant, with the distance of the entry that was found there.
function drawTolerance(drawing, atUs, toleranceUs, y, height, label) {
  const from = drawing.x(atUs - toleranceUs);
  const width = Math.round(100 * (drawing.x(atUs + toleranceUs) - from)) / 100;
  drawing.add(`<rect x="${from}" y="${y}" width="${width}" height="${height}" class="zone"/>`);
  const x = drawing.x(atUs);
  const anchor = x < TIMING_GUTTER + 60 ? 'start' : x > drawing.right - 60 ? 'end' : 'middle';
  const at = anchor === 'start' ? TIMING_GUTTER : anchor === 'end' ? drawing.right : x;
  drawing.text(at, y + height + 16, label, ` text-anchor="${anchor}" class="soft"`);
}

function timingTitle(frame) {
  const how = frame.match === 'start' ? `start, end ${frame.end ?? 'unknown'}` : frame.match;
  return `Frame ${frame.frame}: ${how}`;
}

// The frame's timing; null where the result does not tell its times. `samples` may be null.
function drawTiming(frame, samples, toleranceUs, width = TIMING_WIDTH) {
  if (typeof frame.start_of_frame_us !== 'number' || typeof frame.readout_us !== 'number') return null;
  const timeUs = Math.floor(frame.timeUs);
  const startUs = frame.start_of_frame_us - timeUs;
  const readoutUs = frame.readout_us;
  const drawing = new TimingDrawing(timingExtent(frame, toleranceUs), width);

  drawing.add(`<svg xmlns="http://www.w3.org/2000/svg" class="timing" viewBox="0 0 ${width} ${TIMING_HEIGHT}" ` +
              `role="img" aria-label="${escapeText(timingTitle(frame))}, its timing to scale">`);
  drawing.add(`<style>${TIMING_STYLE}</style>`);
  drawing.add(`<rect class="surface" width="${width}" height="${TIMING_HEIGHT}" rx="6"/>`);
  drawing.text(TIMING_MARGIN, 30, timingTitle(frame), ' class="title"');
  drawAxis(drawing, 62, 382);

  // The sensor's side: when light falls on the first and the last line, and when they are read.
  drawing.row(92, 'first line exposed', milliseconds(frame.exposure_us));
  drawing.bar(startUs, 0, 84, 16, 'bar');
  drawing.row(118, 'last line exposed', milliseconds(frame.exposure_us));
  drawing.bar(startUs + readoutUs, readoutUs, 110, 16, 'bar-soft');
  drawing.row(144, 'lines read out', milliseconds(readoutUs));
  drawing.bar(0, readoutUs, 136, 16, 'bar');
  drawing.vertical(0, 70, 160, 'edge');
  const isAtEdge = drawing.x(0) > drawing.right - 120;
  drawing.text(drawing.x(0) + (isAtEdge ? -6 : 6), 173, 'frame timestamp',
               `${isAtEdge ? ' text-anchor="end"' : ''} class="soft"`);

  // The stabiliser's side. The zones of tolerance lie behind the samples.
  const alignedY = 248;
  drawTolerance(drawing, startUs, toleranceUs, 222, 52,
                typeof frame.start_distance_us === 'number' ? `start ${microseconds(frame.start_distance_us)} off`
                                                            : 'start of frame');
  if (frame.span_us) {
    const targetUs = frame.span_us[0] - timeUs + readoutUs;
    const label = typeof frame.end_distance_us === 'number' ? `end ${microseconds(frame.end_distance_us)} off` : 'end';
    const isApart = Math.abs(drawing.x(targetUs) - drawing.x(startUs)) > 130;
    drawTolerance(drawing, targetUs, toleranceUs, 222, 52, isApart ? label : '');
  }
  drawing.vertical(startUs, 160, 274, 'edge');
  const dots = alignedSamples(frame, samples, drawing.extent);
  const spacing = (drawing.right - TIMING_GUTTER) / Math.max(dots.length, 1);
  const radius = Math.round(10 * Math.min(Math.max(0.4 * spacing, 1.2), 4)) / 10;
  drawing.row(206, 'samples as stamped', samples ? '' : MISSING);
  for (const dot of dots) drawing.dot(dot.rawUs, 206, radius, 'raw');
  drawing.row(alignedY, 'samples aligned', typeof frame.offset_us === 'number'
    ? `${frame.offset_us > 0 ? '−' : '+'}${milliseconds(Math.abs(frame.offset_us))}` : '');
  const isInSpan = (us) => frame.span_us && us >= frame.span_us[0] - timeUs && us <= frame.span_us[1] - timeUs;
  // Those of the span last, over repeats of theirs that came too late for it.
  const [inside, outside] = [dots.filter((dot) => isInSpan(dot.alignedUs)), dots.filter((dot) => !isInSpan(dot.alignedUs))];
  for (const dot of outside) drawing.dot(dot.alignedUs, alignedY, radius, 'other');
  for (const dot of inside) drawing.dot(dot.alignedUs, alignedY, radius + 1, frame.kind);

  // What the library made of them.
  drawing.row(318, 'span', frame.span_us ? `entries ${frame.start_index} to ${frame.end_index}` : 'none');
  if (frame.span_us) drawing.bar(frame.span_us[0] - timeUs, frame.span_us[1] - timeUs, 310, 16, frame.kind);
  drawing.row(346, 'readout covered', frame.span_us ? percent(frame.coverage) : MISSING);
  drawing.bar(startUs, startUs + readoutUs, 342, 8, 'track');
  if (frame.span_us) {
    const from = Math.min(Math.max(frame.span_us[0] - timeUs, startUs), startUs + readoutUs);
    const to = Math.min(Math.max(frame.span_us[1] - timeUs, startUs), startUs + readoutUs);
    if (to > from) drawing.bar(from, to, 342, 8, frame.kind);
  }
  drawing.row(372, 'window', frame.window_us ? '100 entries' : MISSING);
  if (frame.window_us) drawing.bar(frame.window_us[0] - timeUs, frame.window_us[1] - timeUs, 369, 6, 'track');
  drawing.add('</svg>\n');
  return drawing.parts.join('\n');
}

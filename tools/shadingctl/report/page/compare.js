'use strict';
// Two results: which frames belong together, in what they differ, and by how much.

// Results whose frames overlap in time share its axis; others begin together.
function shiftBetween(first, second) {
  const rangeOf = (result) => extentOf([0, ...result.frames.map((frame) => frame.timeUs)]);
  const apartUs = Number(BigInt(second.origin_ns) - BigInt(first.origin_ns)) / 1000;
  const [from, to] = rangeOf(first);
  const [otherFrom, otherTo] = rangeOf(second);
  const overlaps = otherFrom + apartUs <= to && otherTo + apartUs >= from;
  return {shiftUs: overlaps ? apartUs : 0, sharesClock: overlaps};
}

// Gives the frames of two results each other as `other`, and the keys in which they differ as `differing`. As `diff`
// does: frames belong together by camera and number and, where a frame was computed several times, in their order; keys
// that only one result has are not compared.
function pairFrames(first, second) {
  const keysOf = (result) => {
    const computed = new Map();
    return result.frames.map(({camera, frame}) => {
      const times = computed.get(`${camera}/${frame}`) ?? 0;
      computed.set(`${camera}/${frame}`, times + 1);
      return `${camera}/${frame}/${times}`;
    });
  };
  const keysOfSecond = keysOf(second);
  const others = new Map(second.frames.map((frame, i) => [keysOfSecond[i], frame]));
  const apartNs = BigInt(second.origin_ns) - BigInt(first.origin_ns);
  const columns = second.columns.filter((key) => first.columns.includes(key));
  keysOf(first).forEach((key, i) => {
    const frame = first.frames[i];
    const other = others.get(key) ?? null;
    frame.other = other;
    if (other === null) return;
    others.delete(key);
    other.other = frame;
    frame.differing = other.differing = new Set(columns.filter((column) => !isSame(column, frame, other, apartNs)));
  });
}

// Times are those since their own result's origin.
function isSame(column, frame, other, apartNs) {
  if (frame[column] === other[column] && apartNs === 0n) return true;
  const isTime = column === 'time_ns' || TIMES_US.has(column);
  if (!isTime || frame[column] === null || other[column] === null) {
    return JSON.stringify(frame[column]) === JSON.stringify(other[column]);
  }
  const apart = column === 'time_ns' ? apartNs : apartNs / 1000n;
  const [times, otherTimes] = [frame, other].map((one) => [one[column]].flat().map(BigInt));
  return times.every((time, i) => time === otherTimes[i] + apart);
}

function differs(frame) {
  return frame.other === null || frame.differing?.size > 0;
}

function medianOf(values) {
  return values.length === 0 ? null : Float64Array.from(values).sort()[values.length >> 1];
}

// How far apart the positions of a frame are in two results; null where one of them has none.
function positionDifference({other, hall_x: x, hall_y: y}) {
  const [otherX, otherY] = [other?.hall_x, other?.hall_y];
  return [x, y, otherX, otherY].every((value) => typeof value === 'number') ? Math.hypot(x - otherX, y - otherY) : null;
}

// How much later the second result's span begins on its own clock, less what the frame is later; null likewise.
function spanDifference(frame) {
  const {other} = frame;
  return frame.span_us && other?.span_us ? other.span_us[0] - Math.floor(other.timeUs) - frame.span_us[0] + Math.floor(frame.timeUs) : null;
}

function differenceLanes(layers) {
  const first = layers.slice(0, 1);
  return [
    frameLane({name: 'difference', unit: '', meaning: 'how far apart the positions are', valueOf: positionDifference,
               format: threeDigits}, first),
    frameLane({name: 'span diff.', unit: 'ms', meaning: 'how much later the second’s span begins', valueOf: spanDifference,
               format: inMs}, first),
  ].filter((lane) => lane && lane.range[0] < lane.range[1]);
}

// The medians of the differences, and buttons that step through the frames by the size of theirs.
class Differences {
  constructor(layers, choose) {
    this.choose = choose;
    const frames = layers[0].frames;
    this.bySize = frames.filter((frame) => positionDifference(frame) > 0).sort((a, b) => positionDifference(b) - positionDifference(a));
    this.at = -1;
    const median = (what, of, round) => {
      const values = frames.map(of).filter((value) => value !== null && value !== 0);
      return values.length > 0 ? [`${count(values.length)} ${what} differ, median ${round(medianOf(values))}`] : [];
    };
    const told = [...median('positions', positionDifference, position), ...median('spans', spanDifference, microseconds)];
    this.element = element('div', {class: 'bar differences'},
      element('span', {}, told.length > 0 ? told.join('; ') : 'No position and no span differs.'),
      button('‹ larger', 'the next larger difference ({)', () => this.step(-1)),
      button('smaller ›', 'the next smaller difference, at first the largest (})', () => this.step(1)));
  }

  step(by) {
    if (this.bySize.length === 0) return;
    this.at = Math.min(Math.max(this.at + by, 0), this.bySize.length - 1);
    this.choose(this.bySize[this.at]);
  }
}

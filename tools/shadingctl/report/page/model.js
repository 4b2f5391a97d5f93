'use strict';
// Reads the page's data: results of a replay, as PageData.cpp packs them. All times become us since the first frame.

// How a frame was matched, for colours and filters: both ends of its span, or why it has none.
const KINDS = [
  {key: 'near', label: 'start, end near', matches: (f) => f.match === 'start' && f.end === 'near'},
  {key: 'last', label: 'start, end at the window’s last', matches: (f) => f.match === 'start' && f.end === 'last'},
  {key: 'start', label: 'start, end not told', matches: (f) => f.match === 'start'},
  {key: 'carried', label: 'carried', matches: (f) => f.match === 'carried'},
  {key: 'none', label: 'no position', matches: (f) => ['no_start', 'single', 'no_window'].includes(f.match)},
  {key: 'quiet', label: 'warm-up, off', matches: () => true},
];

const TIMES_US = new Set(['start_of_frame_us', 'window_us', 'span_us']);  // since the origin of the result

function kindOf(frame) {
  return KINDS.find((kind) => kind.matches(frame)).key;
}

// Columns become one object a frame.
function unpackFrames(columns) {
  const names = Object.keys(columns);
  const count = names.length > 0 ? columns[names[0]].length : 0;
  const frames = [];
  for (let i = 0; i < count; ++i) {
    const frame = {};
    for (const name of names) frame[name] = columns[name][i];
    frame.timeUs = frame.time_ns / 1000;
    frame.kind = kindOf(frame);
    frame.camera = frame.camera ?? 0;
    frames.push(frame);
  }
  return frames;
}

// Samples in the order of time; `deliveredUs` are the same times in the order of delivery.
function unpackSamples(packed) {
  const count = packed.time_steps_ns.length;
  const deliveredUs = new Float64Array(count);
  let timeNs = 0;
  for (let i = 0; i < count; ++i) {
    timeNs += packed.time_steps_ns[i];
    deliveredUs[i] = timeNs / 1000;
  }
  const order = Uint32Array.from(deliveredUs.keys()).sort((a, b) => deliveredUs[a] - deliveredUs[b]);
  return {
    camera: packed.camera,
    deliveredUs,
    timesUs: Float64Array.from(order, (i) => deliveredUs[i]),
    x: Array.from(order, (i) => packed.hall_x[i]),
    y: Array.from(order, (i) => packed.hall_y[i]),
  };
}

function unpackResult(packed) {
  const result = {...packed, columns: Object.keys(packed.frames), frames: unpackFrames(packed.frames),
                  samples: packed.samples?.map(unpackSamples) ?? null};
  result.cameras = [...new Set(result.frames.map((frame) => frame.camera))].sort((a, b) => a - b);
  return result;
}

// Results whose frames overlap in time share its axis; others begin together.
function shiftBetween(first, second) {
  const rangeOf = (result) => {
    const times = result.frames.map((frame) => frame.timeUs);
    return [times.reduce((a, b) => Math.min(a, b), 0), times.reduce((a, b) => Math.max(a, b), 0)];
  };
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

function samplesOf(result, camera) {
  return result.samples?.find((samples) => samples.camera === camera) ?? null;
}

// The index of the first sorted time that is not before `time`.
function lowerBound(times, time) {
  let low = 0;
  let high = times.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (times[middle] < time) low = middle + 1;
    else high = middle;
  }
  return low;
}

// The least and greatest value of each of `buckets` parts of a time range, so that no peak is lost.
function decimate(timesUs, values, fromUs, toUs, buckets) {
  const first = Math.max(lowerBound(timesUs, fromUs) - 1, 0);
  const last = Math.min(lowerBound(timesUs, toUs) + 1, timesUs.length);
  const rows = [];
  if (last - first <= 4 * buckets) {
    for (let i = first; i < last; ++i) rows.push([timesUs[i], values[i]]);
    return rows;
  }
  const step = (last - first) / buckets;
  for (let bucket = 0; bucket < buckets; ++bucket) {
    const begin = first + Math.floor(bucket * step);
    const end = first + Math.floor((bucket + 1) * step);
    let least = begin;
    let most = begin;
    for (let i = begin; i < end; ++i) {
      if (values[i] < values[least]) least = i;
      if (values[i] > values[most]) most = i;
    }
    const pair = least < most ? [least, most] : [most, least];
    for (const i of new Set(pair)) rows.push([timesUs[i], values[i]]);
  }
  return rows;
}

// The intervals between samples as they were delivered, by the rules of the replay's sample health: a sample that is
// not later than all before it, or by less than a quarter of the median, is a repeat.
function intervalsOf(samples) {
  const forward = [];
  let latestUs = -Infinity;
  for (const timeUs of samples.deliveredUs) {
    if (timeUs <= latestUs) continue;
    if (latestUs > -Infinity) forward.push({atUs: latestUs, lengthUs: timeUs - latestUs});
    latestUs = timeUs;
  }
  const sorted = Float64Array.from(forward, (interval) => interval.lengthUs).sort();
  const medianUs = sorted.length > 0 ? sorted[sorted.length >> 1] : 0;
  const fresh = forward.filter((interval) => interval.lengthUs >= medianUs / 4);
  return {
    medianUs,
    regular: fresh.filter((interval) => interval.lengthUs <= 1.5 * medianUs),
    gaps: fresh.filter((interval) => interval.lengthUs > 1.5 * medianUs).sort((a, b) => b.lengthUs - a.lengthUs),
  };
}

function histogramOf(intervals, buckets) {
  if (intervals.regular.length === 0) return null;
  const lengths = intervals.regular.map((interval) => interval.lengthUs);
  const least = lengths.reduce((a, b) => Math.min(a, b));
  const most = lengths.reduce((a, b) => Math.max(a, b));
  const width = Math.max((most - least) / buckets, 0.001);
  const counts = new Array(buckets).fill(0);
  for (const length of lengths) ++counts[Math.min(Math.floor((length - least) / width), buckets - 1)];
  return {least, most, width, counts};
}

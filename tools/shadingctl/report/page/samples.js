'use strict';
// The samples of a camera: unpacked, in the order of time, with their extremes and intervals.

const GAP = 1.5;  // of the median interval, beyond which there is a gap; below a quarter of it a sample is a repeat
const BLOCK = 16;  // entries of a level that one entry of the next level stands for

function bytesOf(base64) {
  if (Uint8Array.fromBase64) return Uint8Array.fromBase64(base64).buffer;
  const text = atob(base64);
  const bytes = new Uint8Array(text.length);
  for (let i = 0; i < text.length; ++i) bytes[i] = text.charCodeAt(i);
  return bytes.buffer;
}

// The indexes of times in their order. Times as they are delivered are nearly sorted.
function orderOf(times) {
  const order = new Uint32Array(times.length);
  let moves = 0;
  for (let i = 0; i < times.length && moves <= 64 * times.length; ++i) {
    let at = i;
    for (; at > 0 && times[order[at - 1]] > times[i]; --at, ++moves) order[at] = order[at - 1];
    order[at] = i;
  }
  if (moves <= 64 * times.length) return order;
  return order.map((_, i) => i).sort((a, b) => times[a] - times[b] || a - b);
}

// Whether a value is below another one, or the only one of the two that is a number.
function isBefore(value, other) {
  return value < other || (other !== other && value === value);
}

// Values over sorted times in us, with the least and greatest of blocks of 16, 256, ... entries.
class Series {
  constructor(timesUs, values) {
    this.timesUs = timesUs;
    this.values = values;
    this.levels = [];
    const all = new Uint32Array(values.length);
    for (let i = 0; i < all.length; ++i) all[i] = i;
    for (let below = {size: 1, least: all, most: all}; below.least.length >= 2 * BLOCK;) {
      below = this.levelAbove(below);
      this.levels.push(below);
    }
  }

  levelAbove(below) {
    const {values} = this;
    const blocks = Math.floor(below.least.length / BLOCK);
    const level = {size: below.size * BLOCK, least: new Uint32Array(blocks), most: new Uint32Array(blocks)};
    for (let block = 0; block < blocks; ++block) {
      let least = below.least[block * BLOCK];
      let most = below.most[block * BLOCK];
      for (let i = block * BLOCK + 1; i < (block + 1) * BLOCK; ++i) {
        const [low, high] = [below.least[i], below.most[i]];
        if (isBefore(values[low], values[least])) least = low;
        if (isBefore(values[most], values[high])) most = high;
      }
      level.least[block] = least;
      level.most[block] = most;
    }
    return level;
  }

  // The indexes of the least and of the greatest value of a range that is not empty.
  extremes(begin, end) {
    const {values, levels} = this;
    let [least, most] = [begin, begin];
    for (let i = begin; i < end;) {
      let level = levels.length - 1;
      while (level >= 0 && (i % levels[level].size !== 0 || i + levels[level].size > end)) --level;
      const [low, high] = level < 0 ? [i, i] : [levels[level].least[i / levels[level].size], levels[level].most[i / levels[level].size]];
      if (isBefore(values[low], values[least])) least = low;
      if (isBefore(values[most], values[high])) most = high;
      i += level < 0 ? 1 : levels[level].size;
    }
    return [least, most];
  }

  // The least and greatest value of all; null without numbers.
  range() {
    if (this.values.length === 0) return null;
    const [least, most] = this.extremes(0, this.values.length).map((i) => this.values[i]);
    return Number.isNaN(least) ? null : [least, most];
  }

  // Calls take(time, value) for what tells of a range of times: the least and greatest value of each of `buckets` parts, so that no
  // peak is lost, or every entry where there are few. Between two entries further apart than `gapUs` it calls take(time, NaN).
  draw(fromUs, toUs, buckets, gapUs, take) {
    const {timesUs, values} = this;
    const first = Math.max(lowerBound(timesUs, fromUs) - 1, 0);
    const last = Math.min(lowerBound(timesUs, toUs) + 1, timesUs.length);
    let before = -1;
    const add = (i) => {
      if (before >= 0 && timesUs[i] - timesUs[before] > gapUs && this.hasGap(before, i, gapUs)) {
        take((timesUs[before] + timesUs[i]) / 2, NaN);
      }
      take(timesUs[i], values[i]);
      before = i;
    };
    const parts = last - first <= 4 * buckets ? last - first : buckets;
    const step = (last - first) / parts;
    const grain = this.levels.findLast(({size}) => 8 * size <= step)?.size ?? 1;  // parts begin where blocks do
    const place = (part) => (part === parts ? last : Math.max(Math.floor((first + part * step) / grain) * grain, first));
    for (let part = 0; part < parts; ++part) {
      const [least, most] = this.extremes(place(part), place(part + 1));
      add(Math.min(least, most));
      if (least !== most) add(Math.max(least, most));
    }
  }

  hasGap(from, to, gapUs) {
    for (let i = from; i < to; ++i) if (this.timesUs[i + 1] - this.timesUs[i] > gapUs) return true;
    return false;
  }
}

// The length of the lens's path up to each sample.
function pathOf(x, y) {
  const path = new Float64Array(x.length);
  for (let i = 1; i < path.length; ++i) {
    const step = Math.sqrt((x[i] - x[i - 1]) ** 2 + (y[i] - y[i - 1]) ** 2);
    path[i] = path[i - 1] + (Number.isNaN(step) ? 0 : step);
  }
  return path;
}

// Samples in the order of time, and `delivered` in that of delivery, with how many of them come before each batch of
// another frame, by turns: samples of the batch before, frame, samples, frame ...
function unpackSamples(packed) {
  const steps = new Int32Array(bytesOf(packed.steps_ns));
  const [x, y] = [packed.hall_x, packed.hall_y].map((text) => new Float32Array(bytesOf(text)));
  const jumps = new Map(packed.jumps);
  const deliveredUs = new Float64Array(steps.length);
  let timeNs = packed.first_ns;
  for (let i = 0; i < steps.length; ++i) {
    timeNs += jumps.size > 0 ? jumps.get(i) ?? steps[i] : steps[i];
    deliveredUs[i] = timeNs / 1000;
  }
  const order = orderOf(deliveredUs);
  const timesUs = new Float64Array(order.length);
  for (let i = 0; i < order.length; ++i) timesUs[i] = deliveredUs[order[i]];
  const sorted = (values) => new Series(timesUs, new Float32Array(order.length).map((_, i) => values[order[i]]));
  const samples = {camera: packed.camera, timesUs, x: sorted(x), y: sorted(y)};
  samples.path = pathOf(samples.x.values, samples.y.values);
  samples.intervals = intervalsOf(deliveredUs);
  samples.delivered = {timesUs: deliveredUs, x, y, batches: packed.batches};
  return samples;
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

// The intervals between samples as they were delivered, by the rules of the replay's sample health: a sample that is
// not later than all before it, or by less than a quarter of the median, is a repeat.
function intervalsOf(deliveredUs) {
  const [atUs, lengthsUs] = [new Float64Array(deliveredUs.length), new Float64Array(deliveredUs.length)];
  let forward = 0;
  let latestUs = -Infinity;
  for (let i = 0; i < deliveredUs.length; ++i) {
    const timeUs = deliveredUs[i];
    if (timeUs <= latestUs) continue;
    if (latestUs > -Infinity) {
      atUs[forward] = latestUs;
      lengthsUs[forward++] = timeUs - latestUs;
    }
    latestUs = timeUs;
  }
  const medianUs = forward > 0 ? lengthsUs.slice(0, forward).sort()[forward >> 1] : 0;
  const regular = lengthsUs.subarray(0, forward).filter((us) => us >= medianUs / 4 && us <= GAP * medianUs);
  const gaps = [];
  for (let i = 0; i < forward; ++i) {
    if (lengthsUs[i] > GAP * medianUs) gaps.push({fromUs: atUs[i], toUs: atUs[i] + lengthsUs[i], lengthUs: lengthsUs[i]});
  }
  return {medianUs, regular, gaps, series: new Series(atUs.subarray(0, forward), lengthsUs.subarray(0, forward))};
}

function histogramOf(intervals, buckets) {
  if (intervals.regular.length === 0) return null;
  const [least, most] = extentOf(intervals.regular);
  const width = Math.max((most - least) / buckets, 0.001);
  const counts = new Array(buckets).fill(0);
  for (const length of intervals.regular) ++counts[Math.min(Math.floor((length - least) / width), buckets - 1)];
  return {least, most, width, counts};
}

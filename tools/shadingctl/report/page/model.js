'use strict';
// Reads the page's data: results of a replay, as PageData.cpp packs them. All times become us since the first frame.

// How a frame was matched, for colours and filters: both ends of its span, or why it has none. `isTrouble`: of what the
// keys step through.
const KINDS = [
  {key: 'near', label: 'start, end near', matches: (f) => f.match === 'start' && f.end === 'near'},
  {key: 'last', label: 'start, end at the window’s last', isTrouble: true, matches: (f) => f.match === 'start' && f.end === 'last'},
  {key: 'start', label: 'start, end not told', matches: (f) => f.match === 'start'},
  {key: 'carried', label: 'carried', isTrouble: true, matches: (f) => f.match === 'carried'},
  {key: 'none', label: 'no position', isTrouble: true, matches: (f) => ['no_start', 'single', 'no_window'].includes(f.match)},
  {key: 'quiet', label: 'warm-up, off', matches: () => true},
];
const TROUBLE = new Set(KINDS.filter(({isTrouble}) => isTrouble).map(({key}) => key));

const TIMES_US = new Set(['start_of_frame_us', 'window_us', 'span_us']);  // since the origin of the result

function kindOf(frame) {
  return KINDS.find((kind) => kind.matches(frame)).key;
}

function hasPosition(frame) {
  return frame.match === 'start' || frame.match === 'carried';
}

// Columns become one object a frame, which reads them as its own.
function unpackFrames(columns) {
  const names = Object.keys(columns);
  class Frame {
    constructor(i) {
      this.i = i;
      this.timeUs = this.time_ns / 1000;
      this.kind = kindOf(this);
      this.readoutPlace = this.spanPlace = this.other = this.differing = this.steps = undefined;
    }
  }
  for (const name of names) Object.defineProperty(Frame.prototype, name, {get() { return columns[name][this.i]; }});
  if (!names.includes('camera')) Object.defineProperty(Frame.prototype, 'camera', {value: 0});
  return Array.from({length: columns.frame?.length ?? 0}, (_, i) => new Frame(i));
}

// Calls take(frame, begin, end) for the samples of each batch in the order of delivery; the frame is null where the
// result does not tell it.
function eachBatch({timesUs, batches}, take) {
  for (let i = 1, begin = 0; i < batches.length; i += 2) {
    const end = i + 1 < batches.length ? begin + batches[i + 1] : timesUs.length;
    take(batches[i], begin, end);
    begin = end;
  }
}

function unpackResult(packed) {
  const result = {...packed, columns: Object.keys(packed.frames), frames: unpackFrames(packed.frames),
                  samples: packed.samples?.map(unpackSamples) ?? null};
  packed.explained?.forEach((steps, i) => { if (result.frames[i]) result.frames[i].steps = steps; });
  const byCamera = new Map();
  result.timesByFrame = (camera) => {
    if (!byCamera.has(camera)) {
      byCamera.set(camera, new Map(result.frames.filter((frame) => frame.camera === camera).map((frame) => [frame.frame, frame.timeUs])));
    }
    return byCamera.get(camera);
  };
  result.cameras = [...new Set(result.frames.map((frame) => frame.camera))].sort((a, b) => a - b);
  return result;
}

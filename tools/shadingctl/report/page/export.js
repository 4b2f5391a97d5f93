'use strict';
// What is shown, as CSV with the names and digits of a replay's columns, and as a recording.

function quoted(value) {
  const text = value === null || value === undefined ? '' : Array.isArray(value) ? value.join(' ') : String(value);
  return /[",\r\n]/.test(text) ? `"${text.replace(/"/g, '""')}"` : text;
}

// The shortest decimal that single precision reads as this number.
function singleText(value) {
  if (Number.isNaN(value)) return '';
  for (let digits = 6; digits < 9; ++digits) {
    const text = Number(value.toPrecision(digits));
    if (Math.fround(text) === value) return String(text);
  }
  return String(Number(value.toPrecision(9)));
}

function framesOfRange({frames, shiftUs}, [from, to]) {
  return frames.filter((frame) => frame.timeUs + shiftUs >= from && frame.timeUs + shiftUs <= to);
}

function framesCsv(layer, range) {
  const {result} = layer;
  const columns = result.columns.map((name) => (name === 'time_ns' ? 'timestamp_ns' : name));
  const rows = framesOfRange(layer, range)
    .map((frame) => columns.map((name) => quoted(absoluteValue(result, frame, name))).join(','));
  return [columns.join(','), ...rows, ''].join('\n');
}

// Times of a frame count from the result's origin in the page.
function absoluteValue(result, frame, name) {
  if (name === 'timestamp_ns') return exactTimestamp(result, frame);
  if (!TIMES_US.has(name) || frame[name] === null) return frame[name];
  const since = (us) => String(BigInt(result.origin_ns) / 1000n + BigInt(us));
  return Array.isArray(frame[name]) ? frame[name].map(since) : since(frame[name]);
}

function sampleText(result, timeUs, x, y) {
  return `${BigInt(result.origin_ns) + BigInt(Math.round(timeUs * 1000))},${singleText(x)},${singleText(y)}`;
}

function samplesCsv({result, samples, shiftUs}, [from, to]) {
  const lines = ['timestamp_ns,hall_x,hall_y'];
  const end = lowerBound(samples.timesUs, to - shiftUs);
  for (let i = lowerBound(samples.timesUs, from - shiftUs); i < end; ++i) {
    lines.push(sampleText(result, samples.timesUs[i], samples.x.values[i], samples.y.values[i]));
  }
  return [...lines, ''].join('\n');
}

// Whether a recording can be made: the frames' times are told, and with which frame each sample came.
function canRecord({samples, frames}) {
  return frames.some(isRecordable) && samples?.delivered.batches.every((value) => value !== null) === true;
}

function isRecordable({exposure_us: exposure, readout_us: readout}) {
  return typeof exposure === 'number' && typeof readout === 'number';
}

// The files of a recording of version 1. It holds each frame once, in the order of rising numbers, and no sample without
// a position. Samples of a batch whose number falls come with the latest frame.
function recordingOf(layer, range) {
  const {result, samples: {delivered}} = layer;
  const listed = [];
  for (const frame of framesOfRange(layer, range)) {
    if (isRecordable(frame) && !(frame.frame <= listed.at(-1)?.frame)) listed.push(frame);
  }
  const frameLines = listed.map((frame) =>
    `${frame.frame},${exactTimestamp(result, frame)},${BigInt(frame.exposure_us) * 1000n},${BigInt(frame.readout_us) * 1000n}`);
  const hallLines = [];
  let latest = listed[0]?.frame ?? Infinity;
  eachBatch(delivered, (frame, begin, end) => {
    if (frame < listed[0]?.frame || !(frame <= listed.at(-1)?.frame)) return;
    latest = Math.max(latest, frame);
    for (let i = begin; i < end; ++i) {
      const [x, y] = [delivered.x[i], delivered.y[i]];
      if (x === x && y === y) hallLines.push(`${latest},${sampleText(result, delivered.timesUs[i], x, y)}`);
    }
  });
  return {'frames.csv': ['frame,timestamp_ns,exposure_ns,rolling_shutter_ns', ...frameLines, ''].join('\n'),
          'hall.csv': ['frame,timestamp_ns,hall_x,hall_y', ...hallLines, ''].join('\n')};
}

function save(name, text) {
  const url = URL.createObjectURL(new Blob([text], {type: 'text/csv'}));
  element('a', {href: url, download: name}).click();
  setTimeout(() => URL.revokeObjectURL(url), 1000);
}

// Buttons that save the frames and the samples of the view, and both as a recording.
function exportButtons(overview) {
  const layer = overview.layers[0];
  const made = [button('frames CSV', 'saves the frames that are shown', () => save('shown-frames.csv', framesCsv(layer, overview.view)))];
  const saveSamples = () => save('shown-samples.csv', samplesCsv(layer, overview.view));
  if (layer.samples) made.push(button('samples CSV', 'saves the samples that are shown', saveSamples));
  const saveRecording = () => Object.entries(recordingOf(layer, overview.view)).forEach(([name, text]) => save(name, text));
  if (canRecord(layer)) made.push(button('recording', 'saves frames.csv and hall.csv of what is shown, which replay plays', saveRecording));
  return made;
}

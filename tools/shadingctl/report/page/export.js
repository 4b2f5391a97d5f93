'use strict';
// What is shown, as CSV with the names and digits of a replay's columns.

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

function framesCsv({result, frames, shiftUs}, [from, to]) {
  const columns = result.columns.map((name) => (name === 'time_ns' ? 'timestamp_ns' : name));
  const rows = frames.filter((frame) => frame.timeUs + shiftUs >= from && frame.timeUs + shiftUs <= to)
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

function samplesCsv({result, samples, shiftUs}, [from, to]) {
  const lines = ['timestamp_ns,hall_x,hall_y'];
  const origin = BigInt(result.origin_ns);
  const end = lowerBound(samples.timesUs, to - shiftUs);
  for (let i = lowerBound(samples.timesUs, from - shiftUs); i < end; ++i) {
    lines.push(`${origin + BigInt(Math.round(samples.timesUs[i] * 1000))},${singleText(samples.x.values[i])},${singleText(samples.y.values[i])}`);
  }
  return [...lines, ''].join('\n');
}

function save(name, text) {
  const url = URL.createObjectURL(new Blob([text], {type: 'text/csv'}));
  element('a', {href: url, download: name}).click();
  setTimeout(() => URL.revokeObjectURL(url), 1000);
}

// Buttons that save the frames and the samples of the view.
function exportButtons(overview) {
  const layer = overview.layers[0];
  const made = [button('frames CSV', 'saves the frames that are shown', () => save('frames.csv', framesCsv(layer, overview.view)))];
  const saveSamples = () => save('samples.csv', samplesCsv(layer, overview.view));
  if (layer.samples) made.push(button('samples CSV', 'saves the samples that are shown', saveSamples));
  return made;
}

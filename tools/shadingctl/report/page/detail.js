'use strict';
// The chosen frame: why it has its position, its timing and its numbers.

// Every number of the frame as the result has it; `data-key` names the result's key.
const FACTS = [
  ['match', 'match'], ['end', 'end found'], ['type', 'type'], ['timestamp_ns', 'timestamp', 'ns'],
  ['exposure_us', 'exposure', 'µs'], ['readout_us', 'readout', 'µs'], ['offset_us', 'offset', 'µs'],
  ['start_distance_us', 'start distance', 'µs'], ['end_distance_us', 'end distance', 'µs'],
  ['span_age_us', 'age of the span', 'µs'], ['start_index', 'first entry'], ['end_index', 'last entry'],
  ['samples', 'samples in the window'], ['coverage', 'coverage'], ['repeated_samples', 'repeated samples'],
  ['hall_x', 'hall x'], ['hall_y', 'hall y'], ['readout_distance', 'from own readout'], ['message', 'note'],
];

function exactTimestamp(result, frame) {
  return String(BigInt(result.origin_ns) + BigInt(frame.time_ns));
}

function factsOf(result, frame) {
  const facts = element('dl', {class: 'facts'});
  for (const [key, label, unit] of FACTS) {
    const value = key === 'timestamp_ns' ? exactTimestamp(result, frame) : frame[key];
    if (value === null || value === undefined) continue;
    const number = element('span', {'data-key': key}, String(value));
    const isDiffering = frame.differing?.has(key === 'timestamp_ns' ? 'time_ns' : key);
    const classes = [key === 'message' ? 'wide' : '', isDiffering ? 'differs' : ''].join(' ').trim();
    facts.append(element('div', {class: classes || null}, element('dt', {}, label),
                         element('dd', {}, number, unit ? ` ${unit}` : '')));
  }
  return facts;
}

// Why the frame has its position, or none, in one line.
function reasonOf(frame, toleranceUs) {
  const nearest = /^nearest in window (.+) from start$/.exec(frame.message ?? '');
  if (nearest) return `${frame.match}: no sample within ${microseconds(toleranceUs)} of the start, nearest ${typeset(nearest[1])}`;
  if (frame.message) return `${frame.match}: ${typeset(frame.message)}`;
  if (frame.match !== 'start') return frame.match;
  const start = typeof frame.start_distance_us === 'number' ? `a sample ${microseconds(frame.start_distance_us)} from the start`
    : 'a sample near the start';
  const end = frame.end === 'near' ? `, and one ${microseconds(frame.end_distance_us)} from the end`
    : frame.end === 'last' ? '; none near the end, the window’s last stands in' : '';
  return `start: ${start}${end}`;
}

// What explain tells of the frame, sentence by sentence.
function storyOf({steps}) {
  return steps ? [element('ol', {class: 'story'}, ...steps.map((step) => element('li', {}, typeset(step))))] : [];
}

// The chosen frame's part of the page.
function frameView(result, samples, frame, width) {
  const toleranceUs = result.settings?.tolerance_us ?? 1500;
  const view = element('div', {'data-frame': frame.frame}, element('p', {class: `why ${frame.kind}`},
    element('strong', {}, `Frame ${frame.frame}`), ` ${reasonOf(frame, toleranceUs)}`));
  const drawing = guarded('The timing', () => drawTiming(frame, samples, toleranceUs, width));
  view.append(drawing ?? element('p', {class: 'soft'}, 'The result does not hold the times of this frame, which the library ' +
                                 'tells from log level 1 on, and newer results hold.'), ...storyOf(frame), factsOf(result, frame));
  return view;
}

// The chosen frame's timing, and that of the second result below it.
function frameViews(layers, frame, width) {
  const views = [frameView(layers[0].result, layers[0].samples, frame, width)];
  if (layers.length === 1) return views;
  if (frame.other === null) return [...views, element('p', {class: 'notice'}, 'The second does not have this frame.')];
  const many = frame.differing.size;
  const differing = many === 0 ? 'nothing differs' : many === 1 ? 'one value differs' : `${many} values differ`;
  return [...views, element('h3', {class: 'of-second'}, `The same frame of the second: ${differing}`),
          frameView(layers[1].result, layers[1].samples, frame.other, width)];
}

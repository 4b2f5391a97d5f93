'use strict';
// How regular the samples are: rate, jitter, gaps.

const CHART = {height: 210, left: 8, right: 8, bottom: 32, top: 28};

function drawHistogram(histogram) {
  const {height, left, right, bottom, top} = CHART;
  const width = pictureWidth(640);
  const most = histogram.counts.reduce((a, b) => Math.max(a, b));
  const step = (width - left - right) / histogram.counts.length;
  const floor = height - bottom;
  const bars = histogram.counts.map((value, i) => {
    const size = value > 0 ? Math.max((value / most) * (floor - top), 1) : 0;
    const from = histogram.least + i * histogram.width;
    return svg('rect', {x: (left + i * step).toFixed(2), y: (floor - size).toFixed(2), width: (step - 1).toFixed(2),
                        height: size.toFixed(2), class: 'fill'},
               svg('title', {}, `${from.toFixed(1)} to ${(from + histogram.width).toFixed(1)} µs: ${value}`));
  });
  const labels = [[left, 'start', histogram.least], [width / 2, 'middle', (histogram.least + histogram.most) / 2],
                  [width - right, 'end', histogram.most]]
    .map(([x, anchor, us]) => svg('text', {x, y: height - 8, 'text-anchor': anchor}, `${us.toFixed(1)} µs`));
  const label = `histogram of sample intervals from ${histogram.least.toFixed(1)} to ${histogram.most.toFixed(1)} µs`;
  return svg('svg', {class: 'chart', viewBox: `0 0 ${width} ${height}`, role: 'img', 'aria-label': label},
             svg('text', {x: left, y: 18}, `most frequent: ${count(most)} intervals`),
             svg('path', {d: `M${left} ${floor + 0.5}H${width - right}`, class: 'line'}), ...bars, ...labels);
}

function figures(entries) {
  const list = element('dl', {class: 'figures'});
  for (const [label, ...values] of entries) {
    list.append(element('div', {}, element('dt', {}, label), ...values.map((value) => element('dd', {}, value))));
  }
  return list;
}

function number(value, unit) {
  return value === null || value === undefined ? MISSING : `${count(Number(value).toFixed(1))} ${unit}`;
}

function gapTable(gaps) {
  const shown = gaps.slice(0, 8);
  const number = (name, text) => element(name, {class: 'number'}, text);
  const longest = table([number('th', 'after the sample at'), number('th', 'no sample for')], shown.map((gap) =>
    [number('td', `${(gap.fromUs / 1e6).toFixed(4)} s`), number('td', duration(gap.lengthUs))]));
  const more = gaps.length > shown.length ? [element('p', {class: 'soft'}, `and ${gaps.length - shown.length} more`)] : [];
  return element('div', {}, element('h3', {}, gaps.length > 0 ? 'Longest gaps' : 'No gaps'),
                 ...(gaps.length > 0 ? [longest] : []), ...more);
}

function healthOf(result, camera) {
  const summary = result.summary?.cameras?.find((one) => one.camera === camera)?.samples;
  const samples = samplesOf(result, camera);
  const parts = [];
  if (summary) {
    parts.push(figures([
      ['samples', count(summary.delivered)], ['batches', count(summary.batches)], ['rate', number(summary.rate_hz, 'Hz')],
      ['interval', number(summary.interval_us, 'µs')], ['jitter', number(summary.jitter_us, 'µs')],
      ['gaps', count(summary.gaps)], ['longest', duration(summary.longest_us)], ['repeated', count(summary.repeated)],
    ]));
  }
  if (!samples) {
    parts.push(element('p', {class: 'soft'}, 'The result holds no samples (replay --samples keeps them).'));
    return parts;
  }
  const {intervals} = samples;
  const histogram = histogramOf(intervals, 60);
  const chart = element('div', {}, element('h3', {}, 'Intervals between samples, gaps and repeats apart'));
  if (histogram) chart.append(guarded('The histogram', () => drawHistogram(histogram)));
  parts.push(element('div', {class: 'pair'}, chart, gapTable([...intervals.gaps].sort((a, b) => b.lengthUs - a.lengthUs))));
  return parts;
}

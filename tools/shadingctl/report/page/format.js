'use strict';
// Numbers as the whole page shows them.

const MISSING = '–';

function grouped(digits) {
  return digits.replace(/\B(?=(\d{3})+(?!\d))/g, '\u202f');
}

// A whole number of us in groups of three digits.
function microseconds(us) {
  if (us === null || us === undefined) return MISSING;
  return `${us < 0 ? '−' : ''}${grouped(String(Math.abs(Math.round(us))))} µs`;
}

function milliseconds(us, digits = 2) {
  if (us === null || us === undefined) return MISSING;
  return `${us < 0 ? '−' : ''}${(Math.abs(us) / 1000).toFixed(digits)} ms`;
}

// From us to whichever unit is read best.
function duration(us) {
  if (us === null || us === undefined) return MISSING;
  if (Math.abs(us) >= 1e6) return `${(us / 1e6).toFixed(3)} s`;
  return Math.abs(us) >= 10000 ? milliseconds(us, 1) : microseconds(us);
}

function seconds(us, digits) {
  return (us / 1e6).toFixed(digits).replace(/^-/, '−').replace(/^−(0\.0+)$/, '$1');
}

// A share that is neither nothing nor all is never rounded to 0 or 100 %.
function percent(share) {
  if (share === null || share === undefined) return MISSING;
  if (share > 0 && share < 0.001) return '< 0.1 %';
  if (share < 1 && share > 0.999) return '> 99.9 %';
  return `${(100 * share).toFixed(1)} %`;
}

function plain(value) {
  return value === null || value === undefined ? MISSING : String(value).replace(/^-/, '−');
}

function position(value) {
  return typeof value === 'number' ? value.toFixed(3).replace(/^-/, '−') : MISSING;
}

function count(value) {
  return value === null || value === undefined ? MISSING : grouped(String(value));
}

// A text of the tool, which writes ASCII.
function typeset(text) {
  return text.replace(/(\d) us\b/g, '$1\u00a0µs');
}

// The least and the greatest of numbers.
function extentOf(values) {
  let [least, most] = [Infinity, -Infinity];
  for (const value of values) {
    if (value < least) least = value;
    if (value > most) most = value;
  }
  return [least, most];
}

// At most some `most` round numbers of a range: a step of 1, 2 or 5 times a power of ten. None where the range has no
// finite length, or is too narrow for its magnitude to tell steps apart.
function ticksOf([from, to], most) {
  const rough = (to - from) / most;
  const power = 10 ** Math.floor(Math.log10(rough));
  const step = [1, 2, 5, 10].map((factor) => factor * power).find((one) => one >= rough);
  const first = Math.ceil(from / step);
  if (!Number.isFinite(first) || !(step > 0) || !(to > from)) return {ticks: [], step: 1, digits: 0};
  const ticks = Array.from({length: most + 2}, (_, i) => (first + i) * step).filter((at) => at <= to);
  return {ticks: [...new Set(ticks)], step, digits: Math.min(Math.max(0, -Math.floor(Math.log10(step) + 1e-9)), 20)};
}

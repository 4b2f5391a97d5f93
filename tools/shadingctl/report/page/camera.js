'use strict';
// The parts of the page that are of one camera: plots and lanes, the chosen frame beside them, the list, the samples.

const HINT = matchMedia('(pointer: coarse)').matches
  ? 'Drag to move, two fingers to zoom, tap a frame to choose it; “measure” begins and ends at the chosen frame.'
  : 'Drag to move, Ctrl and wheel or + − to zoom, 0 or double click for all; Shift and drag, or m twice, to measure, z to ' +
    'zoom there; click a frame, ← → for the next one, [ ] for the next one with trouble.';

function shareOf(part, whole) {
  return typeof part === 'number' && whole > 0 ? part / whole : null;
}

function keyFigures(results, camera) {
  const cameras = results.map((result) => result.summary?.cameras?.find((one) => one.camera === camera) ?? null);
  if (cameras.every((one) => one === null)) return [];
  const each = (label, text) => [label, ...cameras.map((one) => one ? text(one) : MISSING)];
  return [figures([
    each('frames', (one) => count(one.frames)),
    each('sample at the start', (one) => percent(one.match_rate)),
    each('both ends near', (one) => percent(shareOf(one.both_ends_near, one.frames - one.warm_up_frames))),
    each('readout covered', (one) => percent(one.coverage?.median)),
    each('carried frames', (one) => count(one.matches?.carried)),
    each('their age, median', (one) => duration(one.carried_age_us?.median)),
    each('samples a second', (one) => typeof one.samples?.rate_hz === 'number' ? one.samples.rate_hz.toFixed(1) : MISSING),
  ])];
}

function legend(layers) {
  const present = new Set(layers.flatMap(({frames}) => frames.map((frame) => frame.kind)));
  const key = (type, text) => element('span', {class: 'key'}, element('span', {class: `swatch ${type}`}), text);
  const keys = KINDS.filter((kind) => present.has(kind.key)).map((kind) => key(kind.key, kind.label));
  if (layers.length === 2) return [key('line', 'first: filled, upper strip'), key('second', 'second: dashed and hollow, lower strip'), ...keys];
  return layers[0].samples ? [key('line', 'samples'), ...keys] : keys;
}

// The samples of one replay or of two, once where both were given the same.
function sampleSections(results, camera) {
  const part = (title, i) => guarded(title, () => section(title, `samples-${i}`, ...healthOf(results[i], camera)));
  if (results.length === 1) return [part('Samples', 0)];
  const [first, second] = results.map((result) => samplesOf(result, camera));
  const isSame = first?.timesUs.length === second?.timesUs.length &&
    ['x', 'y'].every((axis) => !first || first[axis].values.every((value, i) => Object.is(value, second[axis].values[i])));
  return isSame ? [part('Samples of both', 0)] : [part('Samples of the first', 0), part('Samples of the second', 1)];
}

class CameraView {
  // `moved(place)` is called with what the address shall tell.
  constructor(page, results, camera, moved) {
    this.results = results;
    this.camera = camera;
    const apart = results.length > 1 ? shiftBetween(results[0], results[1]) : {shiftUs: 0, sharesClock: true};
    this.layers = results.map((result, i) => {
      const frames = result.frames.filter((frame) => frame.camera === camera);
      return {result, samples: samplesOf(result, camera), frames, index: new FrameIndex(frames), shiftUs: i > 0 ? apart.shiftUs : 0};
    });
    const [{result, samples, frames}] = this.layers;
    const events = eventRows(result, samples, frames, camera);
    const lanes = [...(events.length > 0 ? [new EventLane(events)] : []), ...(results.length > 1 ? differenceLanes(this.layers) : []),
                   ...valueLanes(this.layers)];
    const choose = (frame) => this.choose(frame);
    this.overview = new Overview(this.layers, lanes, () => {
      this.pointer.refresh();
      moved(this.place());
    });
    this.pointer = new Pointer(this.overview, choose);
    this.differences = results.length > 1 ? new Differences(this.layers, choose) : null;
    this.list = new FrameList(frames, choose, results.length > 1, (sortedFindings(result) ?? [])
      .filter((finding) => (finding.camera ?? camera) === camera).map((finding) => {
        const stretches = stretchesOf(result, finding);
        return {code: finding.code, has: (frame) => isOfFinding(finding, stretches, frame)};
      }));
    this.detail = element('div', {class: 'detail', 'aria-live': 'polite'});
    page.replaceChildren(...keyFigures(results, camera), this.plotSection(apart.sharesClock), ...sampleSections(results, camera));
    this.overview.draw();
    this.list.draw();
    new ResizeObserver(() => {
      if (this.list.chosen && this.timingWidth() !== this.drawnWidth) this.showDetail(this.list.chosen);
    }).observe(this.detail);
  }

  plotSection(sharesClock) {
    const {overview, layers} = this;
    const notes = [];
    if (layers.every(({samples}) => !samples)) {
      notes.push('The result holds no samples (replay --samples keeps them): positions are drawn alone.');
    }
    if (!sharesClock) notes.push('The two results have no time in common: each begins with its first frame.');
    const onlyInSecond = layers[1]?.frames.filter((frame) => !frame.other).length ?? 0;
    if (onlyInSecond > 0) notes.push(`${count(onlyInSecond)} frames of the second are not in the first, and not listed.`);
    const buttons = element('span', {class: 'buttons'}, this.goBox(),
      button('‹ trouble', 'the frame with trouble before ([)', () => this.list.stepToTrouble(-1)),
      button('trouble ›', 'the next frame with trouble (])', () => this.list.stepToTrouble(1)),
      button('−', 'zoom out (−)', () => overview.zoom(2)), button('+', 'zoom in (+)', () => overview.zoom(0.5)),
      button('all', 'whole session (0)', () => overview.show(overview.full)),
      button('measure', 'one end of a range, then the other, then none (m)', () => this.pointer.mark()), ...exportButtons(overview));
    this.element = section('Lens over time', 'overview', element('div', {class: 'bar'}, ...legend(layers), buttons),
      ...(this.differences ? [this.differences.element] : []), ...notes.map((text) => element('p', {class: 'soft'}, text)),
      element('div', {class: 'work'},
        element('div', {class: 'work-plots'}, overview.element, this.pointer.element, element('p', {class: 'soft hint'},
          'Positions are drawn at the readout of their frame, moved to the samples’ time; that of a carried frame comes from the older, ' +
          `hollow span. ${HINT}`)),
        this.detail, element('div', {class: 'work-list', id: 'frames'}, this.list.element)));
    return this.element;
  }

  // Takes the number of a frame, or a time in s with a point or its unit.
  goBox() {
    const answer = element('span', {class: 'soft', role: 'status'});
    const box = element('input', {type: 'text', class: 'go', size: 12, placeholder: 'frame or 1.25 s',
                                  'aria-label': 'go to a frame’s number or a time in s'});
    box.addEventListener('keydown', (event) => {
      event.stopPropagation();
      if (event.key !== 'Enter') return;
      const text = box.value.trim();
      const time = /^(-?\d+(?:\.\d*)?)\s*s?$/.exec(text);
      const frame = /^\d+$/.test(text) ? this.layers[0].frames.find((one) => one.frame === Number(text))
        : time ? this.layers[0].index.nearest(Number(time[1]) * 1e6) : null;
      answer.textContent = frame ? '' : `no frame ${text}`;
      if (frame) this.choose(frame);
    });
    return element('span', {}, box, ' ', answer);
  }

  timingWidth() {
    return Math.min(Math.max(this.detail.clientWidth, 300), TIMING_WIDTH);
  }

  showDetail(frame) {
    this.drawnWidth = this.timingWidth();
    this.detail.replaceChildren(guarded(`Frame ${frame.frame}`, () => element('div', {}, ...frameViews(this.layers, frame, this.drawnWidth))));
  }

  choose(frame) {
    this.list.mark(frame);
    this.overview.mark(frame);
    this.showDetail(frame);
  }

  // Where a link or a finding leads: a frame's number, a range in us, either of them or neither. `roomUs`: shown beside it.
  goTo(number, range, roomUs = 0) {
    const {frames} = this.layers[0];
    const inRange = range ? frames.find((frame) => frame.timeUs >= range[0] && frame.timeUs <= range[1]) : null;
    const frame = frames.find((one) => one.frame === number) ?? inRange ??
      frames.find((one) => typeof one.start_index === 'number') ?? frames[0];
    if (range) this.overview.show([range[0] - roomUs, range[1] + roomUs]);
    if (frame) this.choose(frame);
  }

  place() {
    const {view: [from, to], full, chosen} = this.overview;
    const isAll = from <= full[0] && to >= full[1];
    const told = (us) => (isAll ? null : String(Number((us / 1e6).toFixed(6))));
    return {camera: this.camera, frame: chosen?.frame ?? null, from: told(from), to: told(to)};
  }
}

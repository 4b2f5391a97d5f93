'use strict';
// Puts the page together.

const PRINTED_WIDTH = 700;  // px of the plots: what A4 and letter paper have between narrow margins

function headerOf(results) {
  const sessions = results.map((result) => result.settings?.session ?? result.name);
  const names = new Set(sessions).size === sessions.length ? sessions : results.map((result) => result.name);
  document.title = `Shading report: ${names.join(' and ')}`;
  const settings = results[0].settings ?? {};
  const isShared = (key) => results.every((result) => result.settings?.[key] === settings[key]);
  const told = ['mode', 'log_level', 'library']
    .filter((key) => settings[key] !== null && settings[key] !== undefined && isShared(key))
    .map((key) => `${settingName(key)} ${settings[key]}`);
  return element('header', {}, element('h1', {}, names.join('  against  ')), element('p', {}, told.join(' · ')),
                 ...settingsApart(results).map((text) => element('p', {class: 'apart'}, text)));
}

function settingName(key) {
  return key.replace(/_/g, ' ');
}

// The settings in which two replays differ, a line for each.
function settingsApart(results) {
  if (results.length < 2 || !results.every((result) => result.settings)) return [];
  const [first, second] = results.map((result) => result.settings);
  return Object.keys(first).filter((key) => key !== 'session' && key in second)
    .filter((key) => JSON.stringify(first[key]) !== JSON.stringify(second[key]))
    .map((key) => `${settingName(key)}: ${first[key] ?? MISSING} in the first, ${second[key] ?? MISSING} in the second`);
}

// What a capture says about itself where it does not hold all that was captured.
function captureNotice(capture) {
  if (!capture || capture.complete !== false) return [];
  return [element('p', {class: 'notice'}, `The recording is not whole: its state is ${capture.state}, ` +
                  `${count(capture.lost_calls)} calls and ${count(capture.lost_samples)} samples were lost.`)];
}

function shareOf(part, whole) {
  return typeof part === 'number' && whole > 0 ? part / whole : null;
}

function keyFigures(results, camera) {
  const cameras = results.map((result) => result.summary?.cameras?.find((one) => one.camera === camera) ?? null);
  if (cameras.every((one) => one === null)) return null;
  const each = (label, text) => [label, ...cameras.map((one) => one ? text(one) : MISSING)];
  return figures([
    each('frames', (one) => count(one.frames)),
    each('sample at the start', (one) => percent(one.match_rate)),
    each('both ends near', (one) => percent(shareOf(one.both_ends_near, one.frames - one.warm_up_frames))),
    each('readout covered', (one) => percent(one.coverage?.median)),
    each('carried frames', (one) => count(one.matches?.carried)),
    each('their age, median', (one) => duration(one.carried_age_us?.median)),
    each('samples a second', (one) => typeof one.samples?.rate_hz === 'number' ? one.samples.rate_hz.toFixed(1) : MISSING),
  ]);
}

// The findings of one replay, or of two: those of both first.
function findingSections(results, camera, goTo) {
  const own = results.map((result) => result.findings?.filter((finding) => (finding.camera ?? camera) === camera));
  const part = (title, id, findings) => section(title, `findings-${id}`, findingList(findings, goTo));
  if (results.length === 1) return [part('What happened', 0, own[0])];
  const texts = own.map((findings) => new Set(findings?.map((finding) => JSON.stringify(finding))));
  const isShared = (finding) => texts.every((each) => each.has(JSON.stringify(finding)));
  const shared = own[0]?.filter(isShared) ?? [];
  const apart = own.map((findings) => findings?.filter((finding) => !isShared(finding)));
  const sections = shared.length > 0 ? [part('What happened in both', 'both', shared)] : [];
  apart.forEach((findings, i) => {
    const place = `in the ${i === 0 ? 'first' : 'second'}`;
    if (shared.length === 0) sections.push(part(`What happened ${place}`, i, findings));
    else if (findings.length > 0) sections.push(part(`What happened ${place} alone`, i, findings));
  });
  return sections;
}

// Browsers break lines after the hyphens of an option.
function wholeOptions(text) {
  return text.split(/(--[a-z-]+)/).map((part, i) => (i % 2 === 0 ? part : element('span', {class: 'option'}, part)));
}

function findingList(findings, goTo) {
  if (!findings) return element('p', {class: 'soft'}, 'The result holds no findings.');
  if (findings.length === 0) return element('p', {}, 'Nothing to complain of.');
  const list = element('ul', {class: 'findings'});
  for (const finding of findings) {
    const frames = (finding.frames?.first ?? []).map((frame) => button(String(frame), `show frame ${frame}`, () => goTo(frame)));
    const advice = finding.advice
      ? [element('p', {}, element('strong', {}, 'What helps: '), ...wholeOptions(`${typeset(finding.advice)}.`))] : [];
    list.append(element('li', {'data-code': finding.code},
                        element('p', {}, element('code', {}, finding.code), ` ${typeset(finding.text)}.`), ...advice,
                        ...(frames.length > 0 ? [element('p', {class: 'soft'}, 'Frames ', ...frames)] : [])));
  }
  return list;
}

function legend(layers) {
  const present = new Set(layers.flatMap(({frames}) => frames.map((frame) => frame.kind)));
  const keys = KINDS.filter((kind) => present.has(kind.key))
    .map((kind) => element('span', {class: 'key'}, element('span', {class: `swatch ${kind.key}`}), kind.label));
  const hasSamples = layers.some(({samples}) => samples);
  const lines = layers.length === 1
    ? !hasSamples ? [] : [element('span', {class: 'key'}, element('span', {class: 'swatch line'}), 'samples')]
    : [element('span', {class: 'key'}, element('span', {class: 'swatch line'}), 'first: filled, upper strip'),
       element('span', {class: 'key'}, element('span', {class: 'swatch second'}), 'second: hollow, lower strip')];
  return [...lines, ...keys];
}

function overviewSection(overview, layers, sharesClock) {
  const part = section('Lens over time', 'overview',
    element('div', {class: 'bar'}, ...legend(layers), element('span', {class: 'buttons'},
      button('−', 'zoom out (−)', () => overview.zoom(2)), button('+', 'zoom in (+)', () => overview.zoom(0.5)),
      button('all', 'whole session (0)', () => overview.show(overview.full)))));
  if (layers.every(({samples}) => !samples)) {
    part.append(element('p', {class: 'soft'}, 'The result holds no samples (replay --samples keeps them): positions are ' +
                        'drawn alone.'));
  }
  if (!sharesClock) {
    part.append(element('p', {class: 'soft'}, 'The two results have no time in common: each begins with its first frame.'));
  }
  part.append(overview.element, element('p', {class: 'soft hint'}, 'Positions are drawn at the readout of their ' +
    'frame, moved to the samples’ time; that of a carried frame comes from the older, hollow span. Drag to move, Ctrl ' +
    'and wheel or shift and drag to zoom, double click for all; click a frame, or ← → to step through them.'));
  return part;
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

// The samples of one replay or of two, once where both were given the same.
function sampleSections(results, camera) {
  const part = (title, i) => section(title, `samples-${i}`, ...healthOf(results[i], camera));
  if (results.length === 1) return [part('Samples', 0)];
  const given = results.map((result) => {
    const summary = result.summary?.cameras?.find((one) => one.camera === camera)?.samples;
    return JSON.stringify([summary, samplesOf(result, camera)?.x, samplesOf(result, camera)?.y]);
  });
  if (given[0] === given[1]) return [part('Samples of both', 0)];
  return [part('Samples of the first', 0), part('Samples of the second', 1)];
}

// The parts of the page that are of one camera.
function showCamera(page, results, camera) {
  page.replaceChildren();
  const {shiftUs, sharesClock} = results.length > 1 ? shiftBetween(results[0], results[1]) : {shiftUs: 0, sharesClock: true};
  const layers = results.map((result, i) => ({
    result,
    samples: samplesOf(result, camera),
    frames: result.frames.filter((frame) => frame.camera === camera),
    shiftUs: i > 0 ? shiftUs : 0,
  }));
  const detail = element('div', {'aria-live': 'polite'});
  let overview = null;
  let list = null;
  const timingWidth = () => Math.min(Math.max(detail.clientWidth, 560), TIMING_WIDTH);
  let drawnWidth = 0;
  const show = (frame) => {
    drawnWidth = timingWidth();
    detail.replaceChildren(guarded(`Frame ${frame.frame}`, () => element('div', {}, ...frameViews(layers, frame, drawnWidth))));
  };
  const choose = (frame) => {
    list.mark(frame);
    overview.mark(frame);
    show(frame);
  };
  overview = new Overview(layers, choose);
  list = new FrameList(layers[0].frames, choose, layers.length > 1);

  const summary = keyFigures(results, camera);
  if (summary) page.append(summary);
  const goTo = (number) => {
    const frame = layers[0].frames.find((one) => one.frame === number);
    if (frame) choose(frame);
  };
  const onlyInSecond = layers[1]?.frames.filter((frame) => !frame.other).length ?? 0;
  const missing = onlyInSecond > 0 ? [element('p', {class: 'notice'}, `${count(onlyInSecond)} frames of the second are ` +
                                      'not in the first, and not listed.')] : [];
  page.append(...findingSections(results, camera, goTo), overviewSection(overview, layers, sharesClock),
              section('Frames', 'frames', ...missing, element('div', {class: 'split'}, list.element, detail)),
              ...sampleSections(results, camera));
  overview.draw();
  list.draw();
  const first = layers[0].frames.find((frame) => typeof frame.start_index === 'number') ?? layers[0].frames[0];
  if (first) choose(first);
  new ResizeObserver(() => {
    if (list.chosen && timingWidth() !== drawnWidth) show(list.chosen);
  }).observe(detail);
  return {overview, list};
}

function showReplays(page, results) {
  if (results.length > 1) pairFrames(results[0], results[1]);
  page.append(headerOf(results));
  for (const result of results) {
    if (result.error) page.append(element('p', {class: 'notice'}, `The replay ended early: ${result.error}`));
    page.append(...captureNotice(result.summary?.capture));
  }
  const cameras = [...new Set(results.flatMap((result) => result.cameras))];
  const body = element('div');
  let shown = null;
  if (cameras.length > 1) {
    const choice = element('select', {'aria-label': 'camera'},
                           ...cameras.map((camera) => element('option', {value: camera}, `camera ${camera}`)));
    choice.addEventListener('change', () => { shown = showCamera(body, results, Number(choice.value)); });
    page.append(element('div', {class: 'bar'}, choice));
  }
  page.append(body);
  if (cameras.length === 0) {
    body.append(element('p', {class: 'notice'}, 'The result holds no frames.'));
    return;
  }
  shown = showCamera(body, results, cameras[0]);
  document.addEventListener('keydown', (event) => {
    const acts = {
      ArrowRight: () => shown.list.step(1), ArrowDown: () => shown.list.step(1), j: () => shown.list.step(1),
      ArrowLeft: () => shown.list.step(-1), ArrowUp: () => shown.list.step(-1), k: () => shown.list.step(-1),
      '+': () => shown.overview.zoom(0.5), '-': () => shown.overview.zoom(2),
      0: () => shown.overview.show(shown.overview.full),
    };
    const isChoosing = event.target instanceof HTMLSelectElement;
    if (!(event.key in acts) || event.ctrlKey || event.metaKey || event.altKey || isChoosing) return;
    event.preventDefault();
    acts[event.key]();
  });
  // The plots take their colours from the page's, which follow the system and the printer.
  for (const query of ['(prefers-color-scheme: dark)', 'print']) {
    matchMedia(query).addEventListener('change', () => shown.overview.redraw());
  }
  window.addEventListener('beforeprint', () => shown.overview.fitInto(PRINTED_WIDTH));
  window.addEventListener('afterprint', () => shown.overview.fitInto(null));
}

function main() {
  const page = document.getElementById('page');
  const show = () => {
    const data = JSON.parse(document.getElementById('data').textContent);
    if (data[0].kind === 'calibration') showCalibration(page, data[0]);
    else if (data[0].kind === 'fit') showFit(page, data[0]);
    else showReplays(page, data.map(unpackResult));
    return '';
  };
  page.append(guarded('The page', show));
}

main();

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
    .map((key) => element('span', {title: String(settings[key])}, `${settingName(key)} ${shortPath(String(settings[key]))}`));
  return element('header', {}, element('h1', {}, names.join('  against  ')), element('p', {class: 'told'}, ...told),
                 ...settingsApart(results).map((text) => element('p', {class: 'apart'}, text)));
}

function settingName(key) {
  return key.replace(/_/g, ' ');
}

// The file's name of a path that would take more than its line.
function shortPath(text) {
  return text.length > 48 && text.includes('/') ? `…/${text.slice(text.lastIndexOf('/') + 1)}` : text;
}

// The settings in which two replays differ, a line for each.
function settingsApart(results) {
  if (results.length < 2 || !results.every((result) => result.settings)) return [];
  const [first, second] = results.map((result) => result.settings);
  return Object.keys(first).filter((key) => key !== 'session' && key in second)
    .filter((key) => JSON.stringify(first[key]) !== JSON.stringify(second[key]))
    .map((key) => `${settingName(key)}: ${first[key] ?? MISSING} in the first, ${second[key] ?? MISSING} in the second`);
}

// What a result says where it does not hold the whole session.
function notices(result) {
  const notice = (text) => element('p', {class: 'notice'}, text);
  const capture = result.summary?.capture;
  return [...(result.error ? [notice(`The replay ended early: ${result.error}`)] : []),
          ...(capture?.complete === false ? [notice(captureText(capture))] : [])];
}

function captureText({state, lost_calls: calls, lost_samples: samples}) {
  const states = {
    complete: 'The recording has losses',
    broken: 'The recording is broken: its capture could not write a file to the end',
    running: 'The recording is unfinished: its capture was still running or was killed',
  };
  const told = Object.hasOwn(states, state) ? states[state] : `The recording is not whole: its state is ${state}`;
  const many = (value, what) => `${count(value)} ${what}${value === 1 ? '' : 's'}`;
  const lost = [...(calls > 0 ? [many(calls, 'call')] : []), ...(samples > 0 ? [many(samples, 'sample')] : [])];
  return `${told}. ${lost.length > 0 ? `${lost.join(' and ')} ${calls + samples === 1 ? 'is' : 'are'} known to be lost`
    : 'No call and no sample is known to be lost'}.`;
}

// The cameras of a replay, one of which is shown.
class ReplayPage {
  constructor(page, results) {
    if (results.length > 1) pairFrames(results[0], results[1]);
    this.results = results;
    this.cameras = [...new Set(results.flatMap((result) => result.cameras))];
    this.body = element('div');
    const goTo = (camera, frame, range) => {
      this.show(camera);
      this.view.goTo(frame, range, range ? Math.max(0.5 * (range[1] - range[0]), 100000) : 0);
      this.view.element.scrollIntoView();
    };
    page.append(headerOf(results), ...results.flatMap(notices), ...findingSections(results, goTo));
    if (this.cameras.length > 1) page.append(this.cameraBar());
    page.append(this.body);
    if (this.cameras.length === 0) this.body.append(element('p', {class: 'notice'}, 'The result holds no frames.'));
    else this.follow(readAddress());
  }

  cameraBar() {
    this.choice = element('select', {'aria-label': 'camera', class: 'camera'},
                          ...this.cameras.map((camera) => element('option', {value: camera}, `camera ${camera}`)));
    this.choice.addEventListener('change', () => this.follow({camera: Number(this.choice.value)}));
    return element('div', {class: 'bar'}, this.choice);
  }

  show(camera) {
    if (this.view?.camera === camera || !this.cameras.includes(camera)) return;
    this.view = new CameraView(this.body, this.results, camera, writeAddress);
    if (this.choice) this.choice.value = String(camera);
  }

  // The camera with the worst finding comes first where the place names none.
  follow({camera, frame, from, to}) {
    const worst = sortedFindings(this.results[0])?.find((finding) => this.cameras.includes(finding.camera))?.camera;
    this.show(this.cameras.includes(camera) ? camera : worst ?? this.cameras[0]);
    this.view.goTo(frame, from < to ? [from * 1e6, to * 1e6] : null);
  }

  listen() {
    const actions = () => {
      const {list, overview, pointer, differences} = this.view;
      const [next, previous] = [() => list.step(1), () => list.step(-1)];
      return {
        ArrowRight: next, ArrowDown: next, j: next, ArrowLeft: previous, ArrowUp: previous, k: previous,
        ']': () => list.stepToTrouble(1), '[': () => list.stepToTrouble(-1),
        '}': () => differences?.step(1), '{': () => differences?.step(-1),
        '+': () => overview.zoom(0.5), '-': () => overview.zoom(2), 0: () => overview.show(overview.full),
        ',': () => overview.pan(-0.25), '.': () => overview.pan(0.25),
        m: () => pointer.mark(), z: () => pointer.zoomToMeasured(),
      };
    };
    document.addEventListener('keydown', (event) => {
      const isOther = event.target instanceof HTMLSelectElement || event.target instanceof HTMLInputElement;
      if (!this.view || event.ctrlKey || event.metaKey || event.altKey || isOther) return;
      const known = actions();
      const action = Object.hasOwn(known, event.key) ? known[event.key] : null;
      if (!action) return;
      event.preventDefault();
      action();
    });
    window.addEventListener('hashchange', () => { if (this.view) this.follow(readAddress()); });
    // The plots take their colours from the page's, which follow the system and the printer.
    for (const query of ['(prefers-color-scheme: dark)', 'print']) {
      matchMedia(query).addEventListener('change', () => this.view?.overview.redraw());
    }
    window.addEventListener('beforeprint', () => this.view?.overview.fitInto(PRINTED_WIDTH));
    window.addEventListener('afterprint', () => this.view?.overview.fitInto(null));
  }
}

function main() {
  performance.mark('begun');
  const page = document.getElementById('page');
  page.append(guarded('The page', () => {
    const data = JSON.parse(document.getElementById('data').textContent);
    if (data[0].kind === 'calibration') showCalibration(page, data[0]);
    else if (data[0].kind === 'fit') showFit(page, data[0]);
    else new ReplayPage(page, data.map(unpackResult)).listen();
    return '';
  }));
  requestAnimationFrame(() => requestAnimationFrame(() => performance.measure('drawn', 'begun')));
}

main();

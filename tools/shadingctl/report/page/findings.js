'use strict';
// What happened: the findings of all cameras by severity, each with its stretches of time, which lead into the plots.

const SEVERITIES = ['wrong', 'lost', 'note'];  // worst first; results that tell none keep their order
const SHOWN_STRETCHES = 6;

function rankOf(finding) {
  const rank = SEVERITIES.indexOf(finding.severity);
  return rank < 0 ? SEVERITIES.length : rank;
}

// A finding's stretches of a result's time in us; none where it tells none. They are told in s since the camera's first
// frame, which a result of some frames may lack: then the frames at both ends tell the time, if they are there.
function stretchesOf(result, finding) {
  const timeOf = result.timesByFrame(finding.camera ?? result.cameras[0]);
  const isWhole = !result.settings?.only && !result.settings?.range;
  const beginUs = timeOf.values().next().value;
  const at = (since, frame) => (isWhole && typeof since === 'number' ? beginUs + since * 1e6 : timeOf.get(frame));
  return (finding.intervals ?? []).map((interval) => ({
    fromUs: at(interval.from_s, interval.first_frame), toUs: at(interval.to_s, interval.last_frame), firstFrame: interval.first_frame,
  })).filter(({fromUs, toUs}) => Number.isFinite(fromUs) && Number.isFinite(toUs));
}

// Whether a frame is one that a finding tells of, as far as the result tells which.
function isOfFinding(finding, stretches, frame) {
  if (stretches.length === 0) return finding.frames?.first?.includes(frame.frame) ?? false;
  return stretches.some(({fromUs, toUs}) => fromUs <= frame.timeUs && frame.timeUs <= toUs);
}

// Browsers break lines after the hyphens of an option.
function wholeOptions(text) {
  return text.split(/(--[a-z-]+)/).map((part, i) => (i % 2 === 0 ? part : element('span', {class: 'option'}, part)));
}

function stretchButtons(result, finding, goTo) {
  const camera = finding.camera ?? result.cameras[0];
  const stretches = stretchesOf(result, finding);
  if (stretches.length > 0) {
    const made = stretches.slice(0, SHOWN_STRETCHES).map((stretch) => {
      const [from, to] = [stretch.fromUs, stretch.toUs].map((us) => seconds(us, 2));
      const frames = typeof stretch.firstFrame === 'number' ? `, from frame ${stretch.firstFrame}` : '';
      return button(from === to ? `${from} s` : `${from}–${to} s`, `show ${from} to ${to} s${frames}`,
                    () => goTo(camera, stretch.firstFrame, [stretch.fromUs, stretch.toUs]));
    });
    const more = stretches.length - made.length;
    return [...made, ...(more > 0 ? [element('span', {class: 'soft'}, `and ${count(more)} more`)] : [])];
  }
  return (finding.frames?.first ?? []).map((frame) => button(String(frame), `show frame ${frame}`, () => goTo(camera, frame, null)));
}

function findingItem(result, finding, goTo) {
  const places = stretchButtons(result, finding, goTo);
  const camera = result.cameras.length > 1 && typeof finding.camera === 'number' ? [element('span', {class: 'tag'}, `camera ${finding.camera}`)] : [];
  const severity = SEVERITIES.includes(finding.severity) ? [element('span', {class: `tag ${finding.severity}`}, finding.severity)] : [];
  const advice = finding.advice
    ? [element('p', {}, element('strong', {}, 'What helps: '), ...wholeOptions(`${typeset(finding.advice)}.`))] : [];
  const explained = typeof finding.explained_by === 'string'
    ? [element('p', {class: 'soft'}, 'Explained by ', element('code', {}, finding.explained_by), '.')] : [];
  const item = element('li', {'data-code': finding.code},
                       element('div', {}, element('p', {}, ...severity, element('code', {}, finding.code), ...camera, ` ${typeset(finding.text)}.`),
                               ...advice, ...explained),
                       element('p', {class: 'places'}, ...(places.length > 0 ? [element('span', {class: 'soft'},
                         stretchesOf(result, finding).length > 0 ? 'When' : 'Frames'), ...places] : [])));
  // The whole finding leads to its first place, as far as nobody marks its text.
  item.addEventListener('click', (event) => {
    if (places.length > 0 && !event.target.closest('button') && String(window.getSelection()) === '') places[0].click();
  });
  return item;
}

function findingList(result, findings, goTo) {
  if (!findings) return element('p', {class: 'soft'}, 'The result holds no findings.');
  if (findings.length === 0) return element('p', {}, 'Nothing to complain of.');
  return element('ul', {class: 'findings'}, ...findings.map((finding) => guarded(`The finding ${finding.code}`, () => findingItem(result, finding, goTo))));
}

function sortedFindings(result) {
  return result.findings?.map((finding, i) => ({finding, i}))
    .sort((a, b) => rankOf(a.finding) - rankOf(b.finding) || a.i - b.i).map(({finding}) => finding);
}

// The findings of one replay, or of two: those of both first.
function findingSections(results, goTo) {
  const own = results.map(sortedFindings);
  const part = (title, id, i, findings) => section(title, `findings-${id}`, findingList(results[i], findings, goTo));
  if (results.length === 1) return [part('What happened', 0, 0, own[0])];
  const texts = own.map((findings) => new Set(findings?.map((finding) => JSON.stringify(finding))));
  const isShared = (finding) => texts.every((each) => each.has(JSON.stringify(finding)));
  const shared = own[0]?.filter(isShared) ?? [];
  const sections = shared.length > 0 ? [part('What happened in both', 'both', 0, shared)] : [];
  own.map((findings) => findings?.filter((finding) => !isShared(finding))).forEach((findings, i) => {
    const place = `in the ${i === 0 ? 'first' : 'second'}`;
    if (shared.length === 0) sections.push(part(`What happened ${place}`, i, i, findings));
    else if (findings?.length > 0) sections.push(part(`What happened ${place} alone`, i, i, findings));
  });
  return sections;
}

// What the lane under the time axis shows of a camera: every finding's stretches, gaps of the samples, mode switches.
function eventRows(result, samples, frames, camera) {
  const rows = (sortedFindings(result) ?? []).filter((finding) => (finding.camera ?? camera) === camera).map((finding) => ({
    name: finding.code, colour: finding.severity === 'note' ? 'quiet' : finding.severity === 'lost' ? 'none' : 'carried',
    intervals: stretchesOf(result, finding),
  }));
  rows.push({name: 'no samples', colour: 'last', intervals: samples?.intervals.gaps ?? []});
  const switches = frames.filter((frame, i) => i > 0 && typeof frame.readout_us === 'number' && typeof frames[i - 1].readout_us === 'number' &&
                                              frame.readout_us !== frames[i - 1].readout_us);
  rows.push({name: 'modes', colour: 'focus', intervals: switches.map(({timeUs}) => ({fromUs: timeUs, toUs: timeUs}))});
  return rows.filter(({intervals}) => intervals.length > 0);
}

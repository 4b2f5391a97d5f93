'use strict';
// The list of frames, filtered by kind and by finding.

const ROW_HEIGHT = 28;  // px, as in style.css
const LIST_COLUMNS = [
  {title: 'frame', class: 'number', text: (f) => String(f.frame)},
  {title: 'time', class: 'number rare', text: (f) => `${(f.timeUs / 1e6).toFixed(3)} s`},
  {title: 'match and reason', class: 'reason', text: (f) => f.message ? `${f.match}: ${typeset(f.message)}` : f.match},
  {title: 'start µs', class: 'number rare', text: (f) => plain(f.start_distance_us)},
  {title: 'end µs', class: 'number rare', text: (f) => plain(f.end_distance_us)},
  {title: 'covers', class: 'number', text: (f) => f.span_us || f.coverage !== null ? percent(f.coverage) : MISSING},
];

// Shows the rows that fit, so that any number of frames scrolls smoothly.
class FrameList {
  // `isOfTwo`: the frames have others of a second result, beside which they are listed. `findings`: {code, has(frame)}.
  constructor(frames, choose, isOfTwo, findings) {
    this.all = frames;
    this.isOfTwo = isOfTwo;
    this.findings = findings.filter(({has}) => frames.some(has));
    this.shown = frames;
    this.choose = choose;
    this.chosen = null;
    this.spacer = element('div');
    this.list = element('div', {class: 'list', role: 'listbox', tabindex: '0', 'aria-label': 'frames'}, this.spacer);
    this.list.addEventListener('scroll', () => this.draw());
    this.list.addEventListener('keydown', (event) => this.press(event));
    const head = element('div', {class: this.rowClass('list-head'), 'aria-hidden': 'true'}, element('span'),
                         ...LIST_COLUMNS.map((column) => element('span', {class: column.class}, column.title)));
    this.element = element('div', {class: 'list-part'}, this.filters(), head, this.list);
  }

  rowClass(name) {
    return this.isOfTwo ? `${name} of-two` : name;
  }

  filters() {
    const bar = element('div', {class: 'bar', role: 'group', 'aria-label': 'kinds of frames to list'});
    this.hidden = new Set();
    this.onlyDiffering = false;
    const counts = new Map();
    for (const {kind} of this.all) counts.set(kind, (counts.get(kind) ?? 0) + 1);
    for (const kind of KINDS) {
      const frames = counts.get(kind.key);
      if (!frames) continue;
      const box = element('input', {type: 'checkbox', checked: ''});
      box.addEventListener('change', () => {
        if (box.checked) this.hidden.delete(kind.key);
        else this.hidden.add(kind.key);
        this.filter();
      });
      bar.append(element('label', {class: 'key'}, box, element('span', {class: `swatch ${kind.key}`}),
                         `${kind.label} (${count(frames)})`));
    }
    if (this.isOfTwo) bar.append(this.differingFilter());
    if (this.findings.length > 0) bar.append(this.findingFilter());
    return bar;
  }

  findingFilter() {
    const choice = element('select', {class: 'finding-filter', 'aria-label': 'only frames of a finding'},
                           element('option', {value: ''}, 'all findings'),
                           ...this.findings.map(({code}, i) => element('option', {value: i}, code)));
    this.finding = null;
    choice.addEventListener('change', () => {
      this.finding = choice.value === '' ? null : this.findings[Number(choice.value)];
      this.filter();
    });
    return choice;
  }

  differingFilter() {
    const box = element('input', {type: 'checkbox', class: 'only-differing'});
    box.addEventListener('change', () => {
      this.onlyDiffering = box.checked;
      this.filter();
    });
    return element('label', {class: 'key', title: 'also frames that the second does not have'}, box,
                   `only frames that differ (${count(this.all.filter(differs).length)})`);
  }

  filter() {
    this.shown = this.all.filter((frame) => !this.hidden.has(frame.kind) && (!this.onlyDiffering || differs(frame)) &&
                                            (!this.finding || this.finding.has(frame)));
    this.list.scrollTop = 0;
    this.draw();
    if (this.shown.length > 0 && !this.shown.includes(this.chosen)) this.choose(this.shown[0]);
  }

  draw() {
    this.spacer.style.height = `${this.shown.length * ROW_HEIGHT}px`;
    for (const row of this.list.querySelectorAll('.list-row')) row.remove();
    const first = Math.max(Math.floor(this.list.scrollTop / ROW_HEIGHT) - 5, 0);
    const last = Math.min(first + Math.ceil((this.list.clientHeight || 500) / ROW_HEIGHT) + 10, this.shown.length);
    for (let i = first; i < last; ++i) this.list.append(this.row(this.shown[i], i));
  }

  row(frame, index) {
    const swatches = element('span', {class: 'swatches'}, element('span', {class: `swatch ${frame.kind}`}));
    if (frame.other) swatches.append(element('span', {class: `swatch hollow ${frame.other.kind}`}));
    const row = element('div', {class: this.rowClass('list-row'), role: 'option', 'data-frame': frame.frame,
                                'aria-selected': String(frame === this.chosen), title: frame.message ?? ''},
                        swatches,
                        ...LIST_COLUMNS.map((column) => element('span', {class: column.class}, column.text(frame))));
    row.style.top = `${index * ROW_HEIGHT}px`;
    row.addEventListener('click', () => this.choose(frame));
    return row;
  }

  // Moves the choice by so many of the frames that are listed.
  step(by) {
    if (this.shown.length === 0) return;
    const index = this.shown.indexOf(this.chosen);
    this.choose(this.shown[Math.min(Math.max(index + by, 0), this.shown.length - 1)]);
  }

  // The next frame with trouble, or the one before, whatever is listed.
  stepToTrouble(by) {
    for (let i = this.all.indexOf(this.chosen) + by; i >= 0 && i < this.all.length; i += by) {
      if (TROUBLE.has(this.all[i].kind)) return this.choose(this.all[i]);
    }
    return null;
  }

  press(event) {
    const page = Math.max(Math.floor(this.list.clientHeight / ROW_HEIGHT) - 1, 1);
    const steps = {PageDown: page, PageUp: -page, Home: -Infinity, End: Infinity};
    if (!(event.key in steps)) return;
    event.preventDefault();
    this.step(steps[event.key]);
  }

  mark(frame) {
    this.chosen = frame;
    const index = this.shown.indexOf(frame);
    if (index >= 0) {
      const top = index * ROW_HEIGHT;
      if (top < this.list.scrollTop) this.list.scrollTop = top;
      if (top + ROW_HEIGHT > this.list.scrollTop + this.list.clientHeight) {
        this.list.scrollTop = top + ROW_HEIGHT - this.list.clientHeight;
      }
    }
    this.draw();
  }
}

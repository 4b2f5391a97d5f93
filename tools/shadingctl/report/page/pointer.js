'use strict';
// What the pointer does in the plots: a drag moves, with shift it measures, a click chooses, two fingers zoom. The line
// of values tells what is under it, and the line below that what the measured or the shown range holds.

// How far the lens moves between two sample indexes, and how far it ranges.
function motionOf(samples, begin, end) {
  const [x, y] = [samples.x, samples.y].map((series) => {
    const [least, most] = series.extremes(begin, end).map((i) => series.values[i]);
    return most - least;
  });
  return {path: samples.path[end - 1] - samples.path[begin], x, y};
}

function rangeText({samples, index, shiftUs}, [from, to]) {
  const frames = lowerBound(index.endsUs, to - shiftUs) - lowerBound(index.endsUs, from - shiftUs);
  const parts = [`${seconds(from, 4)} to ${seconds(to, 4)} s`, duration(to - from), `${count(frames)} frames`];
  if (samples) {
    const [begin, end] = [lowerBound(samples.timesUs, from - shiftUs), lowerBound(samples.timesUs, to - shiftUs)];
    parts.push(`${count(end - begin)} samples`);
    if (end > begin) {
      const {path, x, y} = motionOf(samples, begin, end);
      parts.push(`path ${path.toFixed(1)}, range ${x.toFixed(2)} in x, ${y.toFixed(2)} in y`);
    }
  }
  return parts.join(' · ');
}

class Pointer {
  constructor(overview, choose) {
    this.overview = overview;
    this.choose = choose;
    this.measured = null;
    this.hoverUs = null;
    this.fingers = new Map();
    this.line = element('div', {class: 'cursor', hidden: ''});
    this.box = element('div', {class: 'measured', hidden: ''});
    this.values = element('p', {class: 'values'});
    this.range = element('span', {});
    this.zoomButton = button('zoom to it', 'shows the measured range (z)', () => this.zoomToMeasured(), {hidden: ''});
    this.element = element('div', {class: 'readout'}, this.values, element('p', {class: 'soft'}, this.range, ' ', this.zoomButton));
    const plots = overview.element;
    plots.append(this.line, this.box);
    const on = (name, act, options) => plots.addEventListener(name, act, options);
    on('pointerdown', (event) => this.down(event));
    on('pointermove', (event) => this.move(event));
    for (const name of ['pointerup', 'pointercancel']) on(name, (event) => this.up(event, name === 'pointerup'));
    on('pointerleave', () => this.hover(null));
    on('dblclick', () => overview.show(overview.full));
    // With the control key, as on maps: the page scrolls without it.
    on('wheel', (event) => {
      if (!event.ctrlKey && !event.metaKey) return;
      event.preventDefault();
      overview.zoom(event.deltaY > 0 ? 1.25 : 0.8, overview.timeAt(event.clientX));
    }, {passive: false});
  }

  down(event) {
    if (event.button !== 0) return;
    this.overview.element.setPointerCapture(event.pointerId);
    this.fingers.set(event.pointerId, event.clientX);
    const fingers = [...this.fingers.values()];
    const middle = fingers.reduce((sum, x) => sum + x, 0) / fingers.length;
    this.start = {x: event.clientX, us: this.overview.timeAt(middle), view: this.overview.view, measures: event.shiftKey, fingers,
                  isClick: fingers.length === 1};
    event.preventDefault();
  }

  move(event) {
    if (!this.fingers.has(event.pointerId)) {
      this.hover(this.overview.timeAt(event.clientX));
      return;
    }
    this.fingers.set(event.pointerId, event.clientX);
    const {x, us, view: [from, to], measures, fingers} = this.start;
    if (Math.abs(event.clientX - x) >= 4) this.start.isClick = false;
    if (this.start.isClick) return;
    const usAPixel = (to - from) / this.overview.area().width;
    if (measures) {
      this.measure([us, this.overview.timeAt(event.clientX)]);
    } else if (fingers.length === 2 && this.fingers.size === 2) {
      const [a, b] = this.fingers.values();
      const factor = Math.abs(fingers[0] - fingers[1]) / Math.max(Math.abs(a - b), 1);
      this.overview.show([us - (us - from) * factor, us + (to - us) * factor]);
    } else if (fingers.length === 1) {
      const byUs = (event.clientX - x) * usAPixel;
      this.overview.show([from - byUs, to - byUs]);
    }
  }

  up(event, isDone) {
    if (!this.fingers.delete(event.pointerId) || !isDone || !this.start.isClick) return;
    const us = this.overview.timeAt(event.clientX);
    this.hover(us);
    const {index, shiftUs} = this.overview.layers[0];
    const frame = index.nearest(us - shiftUs);
    if (frame) this.choose(frame);
  }

  hover(us) {
    this.hoverUs = us;
    this.refresh();
  }

  // By keys: first one end, then the other, then nothing.
  mark() {
    const {chosen, layers} = this.overview;
    const us = this.hoverUs ?? (chosen ? readoutPlace(chosen).middleUs + layers[0].shiftUs : (this.overview.view[0] + this.overview.view[1]) / 2);
    if (this.measured === null) this.measure([us, us]);
    else if (this.measured[0] === this.measured[1]) this.measure([this.measured[0], us]);
    else this.measure(null);
  }

  measure(range) {
    this.measured = range === null ? null : [Math.min(...range), Math.max(...range)];
    this.refresh();
  }

  zoomToMeasured() {
    if (this.measured && this.measured[1] > this.measured[0]) this.overview.show(this.measured);
  }

  // What stands under the pointer, or at the chosen frame while there is none.
  refresh() {
    const {overview, measured} = this;
    const layer = overview.layers[0];
    const us = this.hoverUs ?? (overview.chosen ? readoutPlace(overview.chosen).middleUs + layer.shiftUs : null);
    const [from, to] = overview.view;
    this.line.hidden = us === null || us < from || us > to;
    if (!this.line.hidden) this.line.style.left = `${overview.placeAt(us)}px`;
    this.values.replaceChildren(us === null ? '' : this.valuesText(us));
    this.box.hidden = measured === null || measured[1] < from || measured[0] > to;
    if (!this.box.hidden) {
      const [left, right] = measured.map((at) => overview.placeAt(Math.min(Math.max(at, from), to)));
      this.box.style.left = `${left}px`;
      this.box.style.width = `${Math.max(right - left, 1)}px`;
    }
    this.zoomButton.hidden = measured === null || measured[1] <= measured[0];
    this.range.replaceChildren(`${measured ? 'Measured' : 'Shown'}: ${rangeText(layer, measured ?? overview.view)}`);
  }

  valuesText(us) {
    const {overview} = this;
    const parts = [`${seconds(us, 5)} s`];
    overview.layers.forEach(({samples, index, shiftUs}, i) => {
      const name = overview.layers.length < 2 ? '' : i === 0 ? 'first: ' : 'second: ';
      const found = samples?.timesUs.length > 0 ? nearestIndex(samples.timesUs, us - shiftUs) : null;
      if (found !== null) parts.push(`${name}x ${position(samples.x.values[found])}, y ${position(samples.y.values[found])}`);
      const frame = index.nearest(us - shiftUs);
      if (frame) parts.push(`${name}frame ${frame.frame} ${frame.match}`);
    });
    const {shiftUs} = overview.layers[0];
    const slackUs = 2 * (overview.view[1] - overview.view[0]) / overview.area().width;
    for (const lane of overview.lanes) {
      if (lane instanceof EventLane) parts.push(...lane.at(us, slackUs));
      else if (typeof lane.at(us, shiftUs) === 'number') parts.push(`${lane.name} ${lane.format(lane.at(us, shiftUs))} ${lane.unit}`.trim());
    }
    return parts.join(' · ');
  }
}

function nearestIndex(times, us) {
  const after = Math.min(lowerBound(times, us), times.length - 1);
  const before = Math.max(after - 1, 0);
  return Math.abs(times[before] - us) < Math.abs(times[after] - us) ? before : after;
}

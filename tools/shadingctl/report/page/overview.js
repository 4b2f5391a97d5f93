'use strict';
// Hall X and Y of all samples over time, with each frame's span and position, in two plots that share zoom and pan.

const LANE = 7;  // px of the strip at the bottom that tells how each frame was matched

// The page's colours of now: they follow the system and the printer.
function paletteOf(element) {
  const style = getComputedStyle(element);
  const names = ['sample', 'second', 'ink', 'line', 'focus', ...KINDS.map((kind) => kind.key)];
  return Object.fromEntries(names.map((name) => [name, style.getPropertyValue(`--${name}`).trim()]));
}

class Overview {
  // `layers`: one or two of {result, samples, frames, shiftUs}; `choose(frame)` is called with a frame clicked at.
  constructor(layers, choose) {
    this.layers = layers;
    this.choose = choose;
    this.chosen = null;
    this.full = this.fullRange();
    this.view = this.full;
    this.element = element('div');
    this.graphs = [];
  }

  fullRange() {
    let from = Infinity;
    let to = -Infinity;
    for (const {samples, frames, shiftUs} of this.layers) {
      for (const frame of frames) {
        from = Math.min(from, frame.timeUs + shiftUs);
        to = Math.max(to, frame.timeUs + shiftUs);
      }
      if (frames.length > 0 || !samples || samples.timesUs.length === 0) continue;
      from = Math.min(from, samples.timesUs[0] + shiftUs);
      to = Math.max(to, samples.timesUs.at(-1) + shiftUs);
    }
    if (from > to) return [0, 1];
    const room = Math.max(0.01 * (to - from), 20000);
    return [from - room, to + room];
  }

  // The page holds the element by now.
  draw() {
    this.palette = paletteOf(document.documentElement);
    for (const axis of ['x', 'y']) {
      const plot = element('div', {class: 'plot', role: 'img', 'aria-label': `hall ${axis} over time`});
      this.element.append(plot);
      this.graphs.push(this.makeGraph(plot, axis));
    }
    this.element.addEventListener('wheel', (event) => this.wheel(event), {passive: false});
  }

  rows(axis) {
    const width = Math.max(this.element.clientWidth, 300);
    const [from, to] = this.view;
    const margin = 0.25 * (to - from);  // for a drag until it is drawn anew
    const parts = this.layers.map(({samples, shiftUs}) => samples
      ? decimate(samples.timesUs, samples[axis], from - margin - shiftUs, to + margin - shiftUs, 3 * width / 2)
          .map(([time, value]) => [time + shiftUs, value])
      : []);
    if (parts.length === 1) return parts[0].length > 0 ? parts[0] : [[from, null], [to, null]];
    const rows = [...parts[0].map(([time, value]) => [time, value, null]),
                  ...parts[1].map(([time, value]) => [time, null, value])].sort((a, b) => a[0] - b[0]);
    return rows.length > 0 ? rows : [[from, null, null], [to, null, null]];
  }

  valueRange(axis) {
    let least = Infinity;
    let most = -Infinity;
    const take = (value) => {
      if (typeof value !== 'number') return;
      least = Math.min(least, value);
      most = Math.max(most, value);
    };
    for (const {samples, frames} of this.layers) {
      samples?.[axis].forEach(take);
      for (const frame of frames) if (frame.span_us || !samples) take(frame[`hall_${axis}`]);
    }
    if (least > most) return [-1, 1];
    const room = Math.max(0.08 * (most - least), 0.5);
    return [least - 2 * room, most + room];
  }

  makeGraph(plot, axis) {
    const labels = ['time', ...this.layers.map((_, i) => `hall ${axis}${i > 0 ? ' of the second' : ''}`)];
    return new Dygraph(plot, this.rows(axis), {
      labels,
      ylabel: `hall ${axis}`,
      colors: [this.palette.sample, this.palette.second].slice(0, this.layers.length),
      strokeWidth: 1.2,
      connectSeparatedPoints: true,
      dateWindow: this.view,
      valueRange: this.valueRange(axis),
      legend: 'never',
      highlightCircleSize: 0,
      axisLineColor: this.palette.line,
      gridLineColor: this.palette.line,
      yRangePad: 0,
      xRangePad: 0,
      axes: {
        x: {
          axisLabelFormatter: (us) => {
            const stepUs = (this.view[1] - this.view[0]) / 8;
            const digits = Math.min(Math.max(Math.ceil(-Math.log10(stepUs / 1e6)), 0), 6);
            return `${(us / 1e6).toFixed(digits)} s`;
          },
          axisLabelWidth: 84,
        },
        y: {axisLabelWidth: 46, axisLabelFormatter: (value) => String(Number(value.toPrecision(6))).replace(/^-/, '−')},
      },
      underlayCallback: (canvas, area, graph) => this.drawBands(canvas, area, graph),
      drawCallback: (graph, isInitial) => {
        if (isInitial) return;
        const [from, to] = graph.xAxisRange();
        if (Math.abs(from - this.view[0]) + Math.abs(to - this.view[1]) > 1e-3) this.show([from, to]);
      },
      interactionModel: this.interaction(),
      plugins: [{activate: () => ({didDrawChart: (event) => this.drawPositions(event, axis)})}],
    });
  }

  // A drag moves, with shift it zooms to a range; a click chooses a frame.
  interaction() {
    return {
      mousedown: (event, graph, context) => {
        if (event.button !== 0) return;
        const zooms = event.shiftKey;
        if (zooms) {
          context.initializeMouseDown(event, graph, context);
          Dygraph.startZoom(event, graph, context);
        }
        const [from, to] = this.view;
        const move = (moved) => {
          if (zooms) return Dygraph.moveZoom(moved, graph, context);
          const byUs = (moved.clientX - event.clientX) * (to - from) / graph.getArea().w;
          return this.show([from - byUs, to - byUs]);
        };
        const end = (ended) => {
          document.removeEventListener('mousemove', move);
          document.removeEventListener('mouseup', end);
          if (zooms) return Dygraph.endZoom(ended, graph, context);
          const isClick = Math.abs(ended.clientX - event.clientX) < 4;
          return isClick ? this.click(graph.toDataXCoord(ended.pageX - this.leftOf(graph))) : null;
        };
        document.addEventListener('mousemove', move);
        document.addEventListener('mouseup', end);
        event.preventDefault();
      },
      dblclick: () => {
        this.graphs.forEach((graph, i) => graph.updateOptions({valueRange: this.valueRange('xy'[i])}));
        this.show(this.full);
      },
    };
  }

  leftOf(graph) {
    return graph.graphDiv.getBoundingClientRect().left + window.scrollX;
  }

  // Shows a range in both plots, with as many samples as their width can tell apart.
  show([from, to]) {
    const least = 200;
    const length = Math.min(Math.max(to - from, least), this.full[1] - this.full[0]);
    const middle = (from + to) / 2;
    const begin = Math.min(Math.max(middle - length / 2, this.full[0]), this.full[1] - length);
    this.view = [begin, begin + length];
    if (this.isWaiting) return;
    this.isWaiting = true;
    requestAnimationFrame(() => {
      this.isWaiting = false;
      this.redraw();
    });
  }

  // Shrinks the drawn plots to a width, or back: Chromium prints canvases blank that change their size for the paper.
  fitInto(width) {
    this.element.style.zoom = width === null ? '' : Math.min(width / this.element.clientWidth, 1);
  }

  redraw() {
    this.palette = paletteOf(document.documentElement);
    this.graphs.forEach((graph, i) => graph.updateOptions({
      file: this.rows('xy'[i]),
      dateWindow: this.view,
      colors: [this.palette.sample, this.palette.second].slice(0, this.layers.length),
      axisLineColor: this.palette.line,
      gridLineColor: this.palette.line,
    }));
  }

  zoom(factor, at = (this.view[0] + this.view[1]) / 2) {
    this.show([at - (at - this.view[0]) * factor, at + (this.view[1] - at) * factor]);
  }

  pan(share) {
    const byUs = share * (this.view[1] - this.view[0]);
    this.show([this.view[0] + byUs, this.view[1] + byUs]);
  }

  // With the control key, as on maps: the page scrolls without it.
  wheel(event) {
    if (!event.ctrlKey && !event.metaKey) return;
    event.preventDefault();
    const graph = this.graphs[0];
    const at = graph.toDataXCoord(event.pageX - this.leftOf(graph));
    this.zoom(event.deltaY > 0 ? 1.25 : 0.8, at);
  }

  click(us) {
    const {frames, shiftUs} = this.layers[0];
    let nearest = null;
    for (const frame of frames) {
      const distance = Math.abs(readoutPlace(frame).middleUs + shiftUs - us);
      if (nearest === null || distance < nearest.distance) nearest = {frame, distance};
    }
    if (nearest) this.choose(nearest.frame);
  }

  // Marks a frame, and brings it into view.
  mark(frame) {
    this.chosen = frame;
    const at = frame.timeUs + this.layers[0].shiftUs;
    const [from, to] = this.view;
    if (at < from || at > to) this.show([at - (to - from) / 2, at + (to - from) / 2]);
    else this.redraw();
  }

  drawBands(canvas, area, graph) {
    const [from, to] = graph.xAxisRange();
    const lanes = this.layers.length;
    const scale = area.w / (to - from);
    this.layers.forEach(({frames, shiftUs}, layer) => {
      const y = area.y + area.h - LANE * (lanes - layer);
      let lastPixel = null;
      let lastKind = null;
      for (const frame of frames) {
        const place = readoutPlace(frame);
        if (place.toUs + shiftUs < from || place.fromUs + shiftUs > to) continue;
        const x = area.x + (place.fromUs + shiftUs - from) * scale;
        const width = (place.toUs - place.fromUs) * scale;
        const isDrawn = width < 1 && Math.floor(x) === lastPixel && frame.kind === lastKind;
        if (isDrawn) continue;
        if (frame.kind !== lastKind) canvas.fillStyle = this.palette[frame.kind];
        [lastPixel, lastKind] = [Math.floor(x), frame.kind];
        canvas.fillRect(x, y, Math.max(width, 1.5), LANE - 1);
        const hasRoom = layer === 0 && width > 12;
        if (!hasRoom) continue;
        canvas.globalAlpha = 0.11;
        canvas.fillRect(x, area.y, width, area.h - LANE * lanes);
        canvas.globalAlpha = 1;
      }
    });
    if (!this.chosen) return;
    const place = readoutPlace(this.chosen);
    const x = graph.toDomXCoord(place.fromUs + this.layers[0].shiftUs);
    const width = Math.max(graph.toDomXCoord(place.toUs + this.layers[0].shiftUs) - x, 2);
    canvas.strokeStyle = this.palette.ink;
    canvas.lineWidth = 1.5;
    canvas.strokeRect(x - 1, area.y + 1, width + 2, area.h - 2);
  }

  // Each position in its frame's own time, so that it lies on the samples' line or off it. That of a carried frame comes
  // from the hollow span, as far as there is room to show that, or the frame is the chosen one.
  drawPositions({drawingContext: canvas, dygraph: graph}, axis) {
    const [from, to] = graph.xAxisRange();
    const area = graph.getArea();
    canvas.save();
    canvas.beginPath();
    canvas.rect(area.x, area.y, area.w, area.h);
    canvas.clip();
    canvas.lineWidth = 1.5;
    const scale = area.w / (to - from);
    const zeroY = graph.toDomYCoord(0);
    const scaleY = graph.toDomYCoord(1) - zeroY;
    this.layers.forEach(({frames, shiftUs}, layer) => {
      const x = (us) => area.x + (us + shiftUs - from) * scale;
      let lastKind = null;
      let lastPlace = null;
      for (const frame of frames) {
        const value = frame[`hall_${axis}`];
        const hasPosition = frame.match === 'start' || frame.match === 'carried';
        if (!hasPosition || typeof value !== 'number') continue;
        const source = spanPlace(frame);
        const place = frame.match === 'carried' ? readoutPlace(frame) : source;
        if (Math.max(place.toUs, source.toUs) + shiftUs < from) continue;
        if (Math.min(place.fromUs, source.fromUs) + shiftUs > to) continue;
        const left = x(place.fromUs);
        const y = zeroY + value * scaleY;
        const width = Math.max((place.toUs - place.fromUs) * scale, 3);
        const pixel = Math.round(left) * 4096 + Math.round(y);
        const isDrawn = width <= 3 && pixel === lastPlace && frame.kind === lastKind && frame !== this.chosen;
        if (isDrawn) continue;
        if (frame.kind !== lastKind) canvas.strokeStyle = canvas.fillStyle = this.palette[frame.kind];
        [lastPlace, lastKind] = [pixel, frame.kind];
        if (layer === 0) canvas.fillRect(left, y - 1.5, width, 3);
        else canvas.strokeRect(left, y - 2.5, width, 5);
        if (place !== source && (width > 36 || frame === this.chosen)) {
          this.drawSource(canvas, x(source.fromUs), x(source.toUs), x(place.fromUs), y);
        }
      }
    });
    canvas.restore();
  }

  drawSource(canvas, from, to, end, y) {
    canvas.lineWidth = 1;
    canvas.strokeRect(from, y - 2, Math.max(to - from, 2), 4);
    canvas.setLineDash([3, 3]);
    canvas.beginPath();
    canvas.moveTo(to, y);
    canvas.lineTo(end, y);
    canvas.stroke();
    canvas.setLineDash([]);
    canvas.lineWidth = 1.5;
  }
}

// Where a frame's own readout lies among the samples as they were stamped.
function readoutPlace(frame) {
  frame.readoutPlace ??= placeOf(frame.start_of_frame_us ?? frame.timeUs, frame.readout_us ?? 0, frame);
  return frame.readoutPlace;
}

// Where the samples of its span lie: elsewhere, if the frame is carried.
function spanPlace(frame) {
  if (!frame.span_us) return readoutPlace(frame);
  frame.spanPlace ??= placeOf(frame.span_us[0], frame.span_us[1] - frame.span_us[0], frame);
  return frame.spanPlace;
}

function placeOf(alignedUs, lengthUs, frame) {
  const fromUs = alignedUs + (frame.offset_us ?? 0);
  return {fromUs, toUs: fromUs + lengthUs, middleUs: fromUs + lengthUs / 2};
}

'use strict';
// How each frame was matched, drawn into the plots: bands and marks at its readout, bars at its position.

const LANE = 7;  // px of the strip at the bottom of a plot that tells how each frame was matched

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

// The frames of a layer by time, so that those of a view are found without a look at all. `reachUs`: how far before its
// readout's end a frame's marks begin at most.
class FrameIndex {
  constructor(frames, isWhole = true) {
    this.frames = [...frames].sort((a, b) => readoutPlace(a).toUs - readoutPlace(b).toUs);
    this.troubled = isWhole ? new FrameIndex(frames.filter((frame) => TROUBLE.has(frame.kind)), false) : null;
    this.endsUs = Float64Array.from(this.frames, (frame) => readoutPlace(frame).toUs);
    this.reachUs = 0;
    for (const frame of this.frames) {
      const place = readoutPlace(frame);
      this.reachUs = Math.max(this.reachUs, place.toUs - Math.min(place.fromUs, spanPlace(frame).fromUs));
    }
  }

  bounds(fromUs, toUs) {
    return [lowerBound(this.endsUs, fromUs), lowerBound(this.endsUs, toUs + this.reachUs + 1)];
  }

  // The frames of a range, or where there are more than `most`, so many of them and, last, all with trouble.
  within([fromUs, toUs], shiftUs, most) {
    const [begin, end] = this.bounds(fromUs - shiftUs, toUs - shiftUs);
    if (end - begin <= most) return this.frames.slice(begin, end);
    const step = (end - begin) / most;
    const some = Array.from({length: Math.floor(most)}, (_, i) => this.frames[begin + Math.floor(i * step)]);
    return [...some, ...this.troubledWithin([fromUs, toUs], shiftUs, most)];
  }

  // Where there is room for `most`, all frames of a range, else those with trouble alone.
  troubledWithin([fromUs, toUs], shiftUs, most) {
    const [begin, end] = this.bounds(fromUs - shiftUs, toUs - shiftUs);
    return end - begin <= most ? this.frames.slice(begin, end)
      : this.troubled.frames.slice(...this.troubled.bounds(fromUs - shiftUs, toUs - shiftUs));
  }

  nearest(us) {
    const at = lowerBound(this.endsUs, us);
    let best = null;
    for (const frame of this.frames.slice(Math.max(at - 8, 0), at + 8)) {
      const distanceUs = Math.abs(readoutPlace(frame).middleUs - us);
      if (best === null || distanceUs < best.distanceUs) best = {frame, distanceUs};
    }
    return best?.frame ?? null;
  }
}

function drawBands(canvas, area, {view, layers, palette, chosen}) {
  const [from, to] = view;
  const scale = area.w / (to - from);
  layers.forEach(({index, shiftUs}, layer) => {
    const y = area.y + area.h - LANE * (layers.length - layer);
    let lastPixel = null;
    let lastKind = null;
    for (const frame of index.within(view, shiftUs, 2 * area.w)) {
      const place = readoutPlace(frame);
      const x = area.x + (place.fromUs + shiftUs - from) * scale;
      const width = (place.toUs - place.fromUs) * scale;
      const isDrawn = width < 1 && Math.floor(x) === lastPixel && frame.kind === lastKind;
      if (isDrawn) continue;
      if (frame.kind !== lastKind) canvas.fillStyle = palette[frame.kind];
      [lastPixel, lastKind] = [Math.floor(x), frame.kind];
      canvas.fillRect(x, y, Math.max(width, 1.5), LANE - 1);
      const hasRoom = layer === 0 && width > 12;
      if (!hasRoom) continue;
      canvas.globalAlpha = 0.11;
      canvas.fillRect(x, area.y, width, area.h - LANE * layers.length);
      canvas.globalAlpha = 1;
    }
  });
  if (!chosen) return;
  const place = readoutPlace(chosen);
  const x = area.x + (place.fromUs + layers[0].shiftUs - from) * scale;
  canvas.strokeStyle = palette.ink;
  canvas.lineWidth = 1.5;
  canvas.strokeRect(x - 1, area.y + 1, Math.max((place.toUs - place.fromUs) * scale, 2) + 2, area.h - 2);
}

// Each position in its frame's own time, so that it lies on the samples' line or off it. That of a carried frame comes
// from the hollow span, as far as there is room to show that, or the frame is the chosen one. Where frames are too dense
// to be told apart, those with trouble alone are drawn.
function drawPositions(canvas, area, axis, yOf, overview) {
  const {view, layers, palette, chosen} = overview;
  const [from, to] = view;
  const scale = area.w / (to - from);
  canvas.save();
  canvas.beginPath();
  canvas.rect(area.x, area.y, area.w, area.h);
  canvas.clip();
  canvas.lineWidth = 1.5;
  layers.forEach(({index, shiftUs}, layer) => {
    const x = (us) => area.x + (us + shiftUs - from) * scale;
    let lastKind = null;
    let lastPlace = null;
    for (const frame of index.troubledWithin(view, shiftUs, 2 * area.w)) {
      const value = frame[`hall_${axis}`];
      if (!hasPosition(frame) || typeof value !== 'number') continue;
      const source = spanPlace(frame);
      const place = frame.match === 'carried' ? readoutPlace(frame) : source;
      const left = x(place.fromUs);
      const y = yOf(value);
      const width = Math.max((place.toUs - place.fromUs) * scale, 3);
      const pixel = Math.round(left) * 4096 + Math.round(y);
      const isDrawn = width <= 3 && pixel === lastPlace && frame.kind === lastKind && frame !== chosen;
      if (isDrawn) continue;
      if (frame.kind !== lastKind) canvas.strokeStyle = canvas.fillStyle = palette[frame.kind];
      [lastPlace, lastKind] = [pixel, frame.kind];
      if (layer === 0) canvas.fillRect(left, y - 1.5, width, 3);
      else canvas.strokeRect(left, y - 2.5, width, 5);
      if (place !== source && (width > 36 || frame === chosen)) drawSource(canvas, x(source.fromUs), x(source.toUs), left, y);
    }
  });
  canvas.restore();
}

function drawSource(canvas, from, to, end, y) {
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

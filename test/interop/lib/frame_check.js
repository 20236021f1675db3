'use strict';

const { STEPS } = require('./pattern');

const BRIGHT = 150; // luma; the band is darker, the bar lighter

/**
 * Checks the frames that a player delivers: their number, that the bar of the pattern moves
 * forward, and the colours of the quarters.
 */
class FrameCheck {
  /** How many steps the bar went back. */
  backward = 0;
  /** Frames with the bar in another place than the frame before. */
  distinct = 0;
  /** How much neighbouring lines differ beyond lines of one field; the worst frame's. */
  combing = 0;

  #newest;
  #place;
  #steps;
  #interlaced;

  /** @param {{upright: boolean, interlaced: boolean}} media `upright`: the bar moves to the right */
  constructor({ upright, interlaced }) {
    this.#steps = interlaced ? STEPS / 2 : STEPS;
    this.#interlaced = interlaced;
    this.upright = upright;
  }

  /** @param {import('../../../lib/types/events').VideoFrame} frame */
  add(frame) {
    this.#newest = frame;
    if (!this.upright) return;
    this.#follow(frame);
    if (this.#interlaced) this.combing = Math.max(this.combing, combing(frame));
  }

  /** The newest frame's size and its quarters' mean Y, U and V, row by row. */
  summary() {
    const frame = this.#newest;
    const { backward, distinct, combing: combs } = this;
    if (!frame) return { backward, distinct, combing: combs };
    const size = { width: frame.width, height: frame.height };
    return { backward, distinct, combing: Math.round(combs), ...size, quarters: quarters(frame) };
  }

  #follow({ data_y: luma, data_y_len: length, width, height }) {
    const stride = length / height;
    const start = Math.floor(height / 2) * stride;
    const left = luma.subarray(start, start + width).findIndex((value) => value > BRIGHT);
    if (left < 0) return;
    const place = Math.round((left * this.#steps) / width) % this.#steps;
    const before = this.#place;
    this.#place = place;
    if (place === before) return;
    this.distinct += 1;
    if (before === undefined) return;
    const moved = (place - before + this.#steps) % this.#steps;
    // Some servers start with a cached key frame, without the frames that follow it.
    const isSecond = this.distinct === 2;
    if (moved > this.#steps / 2 && !isSecond) this.backward += 1;
  }
}

/**
 * Sums the differences of a line of the band to its neighbour and to the next line of its field.
 */
function combing({ data_y: luma, data_y_len: length, width, height }) {
  const stride = length / height;
  const [first, last] = [Math.floor(height * 0.42), Math.floor(height * 0.58)];
  let sum = 0;
  for (let row = first; row < last; row += 1) {
    const at = row * stride;
    for (let x = 0; x < width; x += 1) {
      const value = luma[at + x];
      sum += Math.abs(value - luma[at + stride + x]) - Math.abs(value - luma[at + 2 * stride + x]);
    }
  }
  return sum / (last - first);
}

function quarters(frame) {
  const rows = frame.height / Math.ceil(frame.height / 2);
  const planes = [
    { data: frame.data_y, length: frame.data_y_len, width: frame.width, height: frame.height },
    ...[frame.data_u, frame.data_v].map((data, index) => ({
      data,
      length: [frame.data_u_len, frame.data_v_len][index],
      width: frame.width / 2,
      height: frame.height / rows,
    })),
  ];
  const corners = [
    [0.1, 0.1],
    [0.7, 0.1],
    [0.1, 0.7],
    [0.7, 0.7],
  ];
  return corners.map(([x, y]) => planes.map((plane) => Math.round(mean(plane, x, y, 0.2))));
}

/** The mean of a square part, given in fractions of the plane. */
function mean({ data, length, width, height }, x, y, size) {
  const stride = length / height;
  let sum = 0;
  let count = 0;
  for (let row = Math.floor(y * height); row < (y + size) * height; row += 1) {
    for (let column = Math.floor(x * width); column < (x + size) * width; column += 1) {
      sum += data[row * stride + column];
      count += 1;
    }
  }
  return sum / count;
}

module.exports = { FrameCheck };

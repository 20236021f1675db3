'use strict';

// The frames of all clips: four quarters of different colours, across them a dark band in which a
// white bar moves by one eightieth of the width with each frame. The quarters verify colours and
// orientation, the bar the order of frames.

const STEPS = 80;
const BAND = { top: 3 / 8, height: 1 / 4 };

/** Row by row: RGB. */
const QUARTERS = [
  [255, 0, 0],
  [0, 255, 0],
  [0, 0, 255],
  [255, 255, 0],
];

const hex = (rgb) => `0x${rgb.map((value) => value.toString(16).padStart(2, '0')).join('')}`;

/** @param {import('./media').VideoMedia} video @returns {string} ffmpeg's filters that draw it */
function videoPattern({ width, height, rate, matrix, fields }) {
  const bar = {
    width: 2 * Math.ceil(width / 40),
    height: 2 * Math.floor((height * BAND.height) / 2),
  };
  // Fields are half a frame apart; a bar twice as fast makes combing visible.
  const steps = fields ? STEPS / 2 : STEPS;
  const box = (x, y, w, h, colour) => `drawbox=x=${x}:y=${y}:w=${w}:h=${h}:color=${colour}:t=fill`;
  const [half, third] = ['iw/2', 'ih/2'];
  const still = [
    `color=${hex(QUARTERS[0])}:s=${width}x${height}:r=${rate}`,
    'format=gbrp',
    box(half, 0, half, third, hex(QUARTERS[1])),
    box(0, third, half, third, hex(QUARTERS[2])),
    box(half, third, half, third, hex(QUARTERS[3])),
    box(0, `ih*${BAND.top}`, 'iw', `ih*${BAND.height}`, hex([48, 48, 48])),
  ].join(',');
  const moving = `color=white:s=${bar.width}x${bar.height}:r=${rate},format=gbrp`;
  const overlay = `overlay=format=gbrp:x='mod(n,${steps})*W/${steps}':y='floor(H*${BAND.top})'`;
  const scale = `scale=out_color_matrix=${matrix === 'bt709' ? 'bt709' : 'bt601'}:out_range=tv:flags=accurate_rnd`;
  return `${still}[still];${moving}[bar];[still][bar]${overlay},${scale},format=yuv444p`;
}

/** @returns {number[]} Y, U and V of limited range */
function toYuv([r, g, b], matrix) {
  const [kr, kb] = matrix === 'bt709' ? [0.2126, 0.0722] : [0.299, 0.114];
  const y = (kr * r + (1 - kr - kb) * g + kb * b) / 255;
  return [
    16 + 219 * y,
    128 + (112 * (b / 255 - y)) / (1 - kb),
    128 + (112 * (r / 255 - y)) / (1 - kr),
  ];
}

/** @returns {number[][]} the quarters' RGB as they are to be shown, row by row */
function shownQuarters(rotation) {
  const [a, b, c, d] = QUARTERS;
  return { 0: [a, b, c, d], 90: [c, a, d, b], 180: [d, c, b, a], 270: [b, d, a, c] }[rotation];
}

module.exports = { BAND, QUARTERS, STEPS, shownQuarters, toYuv, videoPattern };

'use strict';

// The number that test frames carry: 32 black or white columns, highest bit first, in the upper
// sixteenth of the frame. time_code.cc writes the time there, av_clip.js the frame's index;
// native/frame_report.cc reads it too.

const BITS = 32;

/**
 * @param {Buffer} row of luma
 * @param {number} width of the frame
 * @returns {number} the code, NaN for a frame without one
 */
function readCode(row, width) {
  let code = 0;
  for (let bit = 0; bit < BITS; bit += 1) {
    const value = row[Math.floor(((bit + 0.5) * width) / BITS)];
    if (value > 80 && value < 170) return Number.NaN;
    code = code * 2 + (value >= 170 ? 1 : 0);
  }
  return code;
}

module.exports = { BITS, readCode };

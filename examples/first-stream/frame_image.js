'use strict';

const fs = require('node:fs');
const { PNG } = require('pngjs');

/**
 * Writes a frame of "onVideoRenderData" as a PNG file.
 *
 * @param {object} frame planes of I420: a byte of luma for each pixel, one of each chroma for two
 *   by two
 * @param {string} file
 */
function savePreview(frame, file) {
  const { width, height } = frame;
  const png = new PNG({ width, height });
  const lumaStride = frame.data_y_len / height;
  const chromaStride = frame.data_u_len / Math.ceil(height / 2);
  for (let y = 0; y < height; y += 1) {
    for (let x = 0; x < width; x += 1) {
      const chroma = (y >> 1) * chromaStride + (x >> 1);
      const luma = frame.data_y[y * lumaStride + x];
      toRgb(luma, frame.data_u[chroma], frame.data_v[chroma], png.data, 4 * (y * width + x));
    }
  }
  fs.writeFileSync(file, PNG.sync.write(png));
}

/** Every frame is coded by ITU-R BT.709, in limited range. */
function toRgb(luma, u, v, rgba, at) {
  const [kr, kg, kb] = [0.2126, 0.7152, 0.0722];
  const y = ((luma - 16) * 255) / 219;
  const b = (2 * (1 - kb) * (u - 128) * 255) / 224;
  const r = (2 * (1 - kr) * (v - 128) * 255) / 224;
  rgba[at] = clamped(y + r);
  rgba[at + 1] = clamped(y - (kb * b + kr * r) / kg);
  rgba[at + 2] = clamped(y + b);
  rgba[at + 3] = 255;
}

const clamped = (value) => Math.max(0, Math.min(255, Math.round(value)));

module.exports = { savePreview };

'use strict';

// Media that cost their decoder far more memory than their sender. Made once a process.

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const zlib = require('node:zlib');
const { runChild } = require('../../../tools/rtmp/child');

let folder;
const made = new Map();

function fileOf(name) {
  if (!folder) {
    folder = fs.mkdtempSync(path.join(os.tmpdir(), 'hostile-media-'));
    process.once('exit', () => fs.rmSync(folder, { recursive: true }));
  }
  return path.join(folder, name);
}

/** Lets `make` write a file once. @returns {Promise<string>} its path */
function once(name, make) {
  if (!made.has(name)) {
    const file = fileOf(name);
    made.set(
      name,
      Promise.resolve(make(file)).then(() => file),
    );
  }
  return made.get(name);
}

const ffmpeg = (...options) =>
  runChild('ffmpeg', ['-v', 'error', ...options], { deadlineSeconds: 120 });

/** Eight frames of 16384x8704 pixels, H.264, made with x264; 420 kB. */
const hugeFlv = () =>
  once('huge.flv', (file) => {
    const packed = fs.readFileSync(path.join(__dirname, '../data/h264_16384x8704.flv.gz'));
    fs.writeFileSync(file, zlib.gunzipSync(packed));
  });

/** The same in another container. */
const hugeIn = (extension, ...options) =>
  once(`huge.${extension}`, async (file) =>
    ffmpeg('-i', await hugeFlv(), '-c', 'copy', ...options, '-y', file),
  );

/** Two seconds of 320x180 pixels. */
const small = (extension) =>
  once(`small.${extension}`, (file) =>
    ffmpeg(
      ...['-f', 'lavfi', '-i', 'testsrc2=size=320x180:rate=25', '-t', '2', '-g', '25'],
      ...['-c:v', 'libx264', '-preset', 'veryfast', '-bf', '0', '-pix_fmt', 'yuv420p', '-y', file],
    ),
  );

/**
 * Small frames, then huge ones, as one stream of MPEG-TS: the change is visible in the stream only.
 */
const growing = () =>
  once('growing.ts', async (file) => {
    const parts = [await small('h264'), await hugeIn('h264')];
    const whole = `${file}.h264`;
    fs.writeFileSync(whole, Buffer.concat(parts.map((part) => fs.readFileSync(part))));
    await ffmpeg('-fflags', '+genpts', '-r', '25', '-i', whole, '-c', 'copy', '-y', file);
  });

const u32 = (value) => {
  const bytes = Buffer.alloc(4);
  bytes.writeUInt32BE(value >>> 0);
  return bytes;
};

function pngChunk(type, data) {
  const body = Buffer.concat([Buffer.from(type), data]);
  return Buffer.concat([u32(data.length), body, u32(crc32(body))]);
}

const CRC_TABLE = Array.from({ length: 256 }, (_, index) => {
  let value = index;
  for (let bit = 0; bit < 8; bit += 1) value = value & 1 ? (value >>> 1) ^ 0xedb88320 : value >>> 1;
  return value >>> 0;
});

function crc32(bytes) {
  let sum = 0xffffffff;
  for (const byte of bytes) sum = CRC_TABLE[(sum ^ byte) & 255] ^ (sum >>> 8);
  return (sum ^ 0xffffffff) >>> 0;
}

/** A black PNG of that width and height, RGB. */
const png = (side) =>
  once(`${side}.png`, (file) => {
    const header = Buffer.concat([u32(side), u32(side), Buffer.from([8, 2, 0, 0, 0])]);
    // Rows are all alike, so that a flushed block may be repeated.
    const rows = side / 20;
    const deflate = (data, flush) => zlib.deflateRawSync(data, { finishFlush: flush });
    const piece = deflate(Buffer.alloc(rows * (1 + side * 3)), zlib.constants.Z_FULL_FLUSH);
    const data = Buffer.concat([
      Buffer.from([0x78, 0x9c]),
      ...Array.from({ length: 20 }, () => piece),
      deflate(Buffer.alloc(0), zlib.constants.Z_FINISH),
      u32(((side * (1 + side * 3)) % 65521) * 65536 + 1),
    ]);
    const chunks = [
      pngChunk('IHDR', header),
      pngChunk('IDAT', data),
      pngChunk('IEND', u32(0).subarray(4)),
    ];
    fs.writeFileSync(file, Buffer.concat([Buffer.from('89504e470d0a1a0a', 'hex'), ...chunks]));
  });

/** A JPEG whose header has that width and height. */
const jpeg = (side) =>
  once(`${side}.jpg`, async (file) => {
    await ffmpeg('-f', 'lavfi', '-i', 'color=red:size=64x64', '-frames:v', '1', '-y', file);
    const data = fs.readFileSync(file);
    const frame = data.indexOf(Buffer.from([0xff, 0xc0]));
    data.writeUInt16BE(side, frame + 5);
    data.writeUInt16BE(side, frame + 7);
    fs.writeFileSync(file, data);
  });

/** @returns {{type: number, timestamp: number, body: Buffer}[]} the tags of an FLV file */
function flvTags(file) {
  const data = fs.readFileSync(file);
  const tags = [];
  for (let at = 13; at + 11 <= data.length; ) {
    const size = data.readUIntBE(at + 1, 3);
    tags.push({
      type: data[at],
      timestamp: data.readUIntBE(at + 4, 3),
      body: data.subarray(at + 11, at + 11 + size),
    });
    at += 11 + size + 4;
  }
  return tags;
}

module.exports = { flvTags, growing, hugeFlv, hugeIn, jpeg, png, small };

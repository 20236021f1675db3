'use strict';

// Measures a stream from outside, with FFmpeg's programs, independently of the SDK.

const { runChild, startChild } = require('./child');
const { onLines, onPieces } = require('./output');

/**
 * @typedef {object} StreamReport measured on the packets that arrived, not read from metadata
 * @property {VideoReport} [video] absent when no frame arrived
 * @property {AudioReport} [audio] absent when no audio arrived
 *
 * @typedef {object} VideoReport
 * @property {string} codec FFmpeg's name, for example 'h264'
 * @property {number} width pixels
 * @property {number} height pixels
 * @property {number} fps frames per second
 * @property {number} bitrate kbit/s
 * @property {number} keyFrameSeconds between key frames; 0 for fewer than two
 * @property {number} longestGapSeconds between two frames
 * @property {number} startSeconds the first frame's time in the stream
 *
 * @typedef {object} AudioReport
 * @property {string} codec FFmpeg's name, for example 'aac'
 * @property {number} sampleRate Hz
 * @property {number} channels
 * @property {number} bitrate kbit/s
 */

/** FFmpeg's options; otherwise it buffers the first seconds to determine the frame rate. */
const AT_ONCE = ['-v', 'error', '-nostdin', '-fpsprobesize', '0'];

/**
 * Measures a stream for a while.
 *
 * @param {string} url
 * @param {number} seconds of the stream to measure
 * @returns {Promise<StreamReport>}
 * @throws {Error} when nothing can be played there
 */
async function probeStream(url, seconds) {
  const stream = 'stream=index,codec_type,codec_name,width,height,sample_rate,channels';
  const text = await runChild(
    'ffprobe',
    [
      ...['-v', 'error', '-of', 'json', '-read_intervals', `%+${seconds}`],
      ...['-show_entries', `${stream}:packet=stream_index,dts_time,size,flags`, url],
    ],
    { deadlineSeconds: seconds + 15 },
  );
  const { packets = [], streams = [] } = JSON.parse(text);
  const report = {};
  for (const info of streams) {
    const own = packets.filter((packet) => packet.stream_index === info.index);
    if (own.length < 2) continue;
    if (info.codec_type === 'video') report.video = videoReport(info, own);
    if (info.codec_type === 'audio') report.audio = audioReport(info, own);
  }
  return report;
}

function videoReport(info, packets) {
  const times = packets.map(timeOf);
  const keyTimes = packets.filter(({ flags }) => flags.startsWith('K')).map(timeOf);
  const gaps = times.slice(1).map((time, index) => time - times[index]);
  return {
    codec: info.codec_name,
    width: info.width,
    height: info.height,
    fps: rounded((times.length - 1) / span(times)),
    bitrate: bitrate(packets),
    keyFrameSeconds: keyTimes.length > 1 ? rounded(span(keyTimes) / (keyTimes.length - 1)) : 0,
    longestGapSeconds: rounded(Math.max(...gaps)),
    startSeconds: times[0],
  };
}

function audioReport(info, packets) {
  return {
    codec: info.codec_name,
    sampleRate: Number(info.sample_rate),
    channels: info.channels,
    bitrate: bitrate(packets),
  };
}

const timeOf = (packet) => Number(packet.dts_time);
const span = (times) => times.at(-1) - times[0];
const rounded = (value) => Math.round(value * 100) / 100;

/** kbit/s; the last packet only marks the end of the time. */
function bitrate(packets) {
  const bytes = packets.slice(0, -1).reduce((sum, { size }) => sum + Number(size), 0);
  return Math.round((bytes * 8) / 1000 / span(packets.map(timeOf)));
}

/**
 * Reports every encoded frame of a stream, from the next key frame on. The first ones arrive in a
 * burst, after FFmpeg has examined the stream.
 *
 * @param {string} url
 * @param {(seconds: number, bytes: number, isKey: boolean) => void} onPacket called for each with
 *   its time in the stream, its size, and whether it is a key frame
 * @returns {import('./child').Child} to be stopped: the end of the stream does not end it
 */
function watchPackets(url, onPacket) {
  const copy = ['-map', '0:v', '-c', 'copy', '-flush_packets', '1', '-f', 'framecrc', 'pipe:1'];
  const child = startChild('ffmpeg', [...AT_ONCE, '-i', url, ...copy]);
  onLines(child.process.stdout, (line) => {
    // "stream, dts, pts, duration, size, checksum" and, unless it is a key frame, "F=…"; RTMP
    // counts in milliseconds.
    const [, time, , , bytes] = line.split(',').map(Number);
    if (!line.startsWith('#')) onPacket(time / 1000, bytes, !line.includes('F='));
  });
  return child;
}

/**
 * Plays a stream and reports each decoded frame.
 *
 * @param {string} url
 * @param {(frame: {seconds: number, width: number, height: number}) => void} onFrame
 * @returns {import('./child').Child} to be stopped: the end of the stream does not end it
 */
function watchDecodedFrames(url, onFrame) {
  const show = ['-an', '-vf', 'showinfo', '-f', 'null', '-'];
  const child = startChild('ffmpeg', [...AT_ONCE, '-v', 'info', '-i', url, ...show]);
  onLines(child.process.stderr, (line) => {
    const [, seconds, width, height] = line.match(/ pts_time:(\S+) .* s:(\d+)x(\d+) /) ?? [];
    if (seconds !== undefined) {
      onFrame({ seconds: Number(seconds), width: Number(width), height: Number(height) });
    }
  });
  return child;
}

/**
 * Writes the first decodable frame as a PNG file.
 *
 * @param {string} url
 * @param {string} file
 * @throws {Error} when nothing can be played there
 */
async function saveImage(url, file) {
  const output = ['-frames:v', '1', '-update', '1', '-y', file];
  await runChild('ffmpeg', [...AT_ONCE, '-i', url, '-an', ...output], {
    deadlineSeconds: 20,
  });
}

/**
 * Computes the mean colours of the fields of a frame.
 *
 * @param {string} source a stream's address or a file
 * @param {number} columns
 * @param {number} rows
 * @returns {Promise<number[][][]>} [row][column] -> [red, green, blue], each 0 to 255
 * @throws {Error} when nothing can be played there
 */
async function frameColours(source, columns, rows) {
  // Scaling few pixels as YUV would give wrong chroma.
  const scale = `format=rgb24,scale=${columns}:${rows}:flags=area`;
  const raw = ['-frames:v', '1', '-vf', scale, '-f', 'rawvideo', '-pix_fmt', 'rgb24', 'pipe:1'];
  const bytes = await runChild('ffmpeg', [...AT_ONCE, '-i', source, '-an', ...raw], {
    deadlineSeconds: 20,
  });
  return Array.from({ length: rows }, (_row, y) =>
    Array.from({ length: columns }, (_column, x) =>
      [...bytes.subarray(3 * (y * columns + x))].slice(0, 3),
    ),
  );
}

/**
 * Plays a stream and reports the mean colours of the fields of each frame.
 *
 * @param {string} url
 * @param {number} columns
 * @param {number} rows
 * @param {(colourAt: (column: number, row: number) => number[]) => void} onFrame called with a
 *   function that returns [red, green, blue], each 0 to 255
 * @returns {import('./child').Child} to be stopped: the end of the stream does not end it
 */
function watchColours(url, columns, rows, onFrame) {
  const show = ['-vf', `format=rgb24,scale=${columns}:${rows}:flags=area`, '-pix_fmt', 'rgb24'];
  const raw = ['-an', ...show, '-fps_mode', 'passthrough', '-f', 'rawvideo', 'pipe:1'];
  return watchPieces(url, raw, 3 * columns * rows, (pixels) =>
    onFrame((column, row) => [...pixels.subarray(3 * (row * columns + column))].slice(0, 3)),
  );
}

/**
 * Plays a stream and reports the loudness of tones in each tenth of a second of its audio.
 *
 * @param {string} url
 * @param {number[]} tones Hz, multiples of 10
 * @param {(amplitudes: number[]) => void} onPiece one for each tone, 1 is full scale
 * @returns {import('./child').Child} to be stopped: the end of the stream does not end it
 */
function watchTones(url, tones, onPiece) {
  const [rate, count] = [8000, 800];
  const raw = ['-vn', '-ac', '1', '-ar', String(rate), '-f', 's16le', 'pipe:1'];
  return watchPieces(url, raw, 2 * count, (piece) =>
    onPiece(
      tones.map((tone) => {
        let [cosine, sine] = [0, 0];
        for (let i = 0; i < count; i += 1) {
          const sample = piece.readInt16LE(2 * i) / 32768;
          cosine += sample * Math.cos((2 * Math.PI * tone * i) / rate);
          sine += sample * Math.sin((2 * Math.PI * tone * i) / rate);
        }
        return (2 * Math.hypot(cosine, sine)) / count;
      }),
    ),
  );
}

/** Splits ffmpeg's output for a stream into chunks of one size. */
function watchPieces(url, output, bytes, onPiece) {
  const child = startChild('ffmpeg', [...AT_ONCE, '-i', url, ...output]);
  onPieces(child.process.stdout, bytes, onPiece);
  return child;
}

module.exports = {
  ...{ AT_ONCE, frameColours, probeStream, saveImage },
  ...{ watchColours, watchPackets, watchDecodedFrames, watchTones },
};

'use strict';

const { startChild } = require('../../../tools/rtmp/child');
const { onLines, onPieces } = require('../../../tools/rtmp/output');
const { AT_ONCE } = require('../../../tools/rtmp/witness');

const RATE = 48_000;
const PIECE = RATE / 10; // samples
const SAMPLE_BYTES = 2;
const SILENT = 100; // of 32767
const COLOUR_BYTES = 3;

/**
 * Plays a stream with FFmpeg until it is stopped, and records its packets, colours and pitches.
 *
 * @param {string} url
 * @param {{x: number, y: number}} spot where the colour is sampled, as fractions of the frame size
 */
function watchStream(url, { x, y }) {
  const times = { video: [], audio: [] };
  const pitches = [];
  let colour;
  const waiting = new Set();
  const notify = () => {
    for (const check of [...waiting]) check();
  };

  const play = (...args) => startChild('ffmpeg', [...AT_ONCE, '-i', url, ...args]);
  const packets = play(
    '-map',
    '0',
    '-c',
    'copy',
    '-flush_packets',
    '1',
    '-f',
    'framecrc',
    'pipe:1',
  );
  onLines(packets.process.stdout, packetReader(times));
  const audioPlayer = play('-map', '0:a', '-ac', '1', '-ar', String(RATE), '-f', 's16le', 'pipe:1');
  onPieces(audioPlayer.process.stdout, PIECE * SAMPLE_BYTES, (piece) => {
    pitches.push(pitch(piece));
    notify();
  });
  const part = `crop=20:20:iw*${x}-10:ih*${y}-10,format=rgb24,scale=1:1:flags=area`;
  const videoPlayer = play('-map', '0:v', '-vf', part, '-f', 'rawvideo', 'pipe:1');
  onPieces(videoPlayer.process.stdout, COLOUR_BYTES, (bytes) => {
    colour = [...bytes];
    notify();
  });

  const until = (condition) =>
    new Promise((resolve) => {
      const check = () => {
        if (!condition()) return;
        waiting.delete(check);
        resolve();
      };
      waiting.add(check);
      check();
    });

  return {
    /** Times of the packets in the stream, in seconds, in order of arrival. */
    times,
    /** The pitch of each tenth of a second, in Hz; 0 is silence. */
    pitches,

    /** Resolves when the spot has that colour. @param {number[]} wanted red, green and blue */
    untilColour: (wanted) =>
      until(() => colour?.every((value, index) => Math.abs(value - wanted[index]) < 40)),

    /** Resolves when the last half second was a tone of that pitch. */
    untilTone: (hertz) =>
      until(() => {
        const last = pitches.slice(-5);
        return last.length === 5 && last.every((measured) => Math.abs(measured - hertz) <= 20);
      }),

    /**
     * @returns {number} seconds: the longest silence
     */
    longestSilence() {
      let silence = 0;
      let longest = 0;
      for (const measured of pitches) {
        silence = measured === 0 ? silence + 0.1 : 0;
        longest = Math.max(longest, silence);
      }
      return longest;
    },

    /** The ends of the three players: empty while all of them still play. */
    ended: () =>
      [packets, audioPlayer, videoPlayer].filter(({ process }) => process.exitCode !== null).length,

    stop: () => Promise.all([packets.stop(), audioPlayer.stop(), videoPlayer.stop()]),
  };
}

/** Reads FFmpeg's list of packets: "stream, dts, pts, duration, size, checksum". */
function packetReader(times) {
  const kinds = new Map();
  const bases = new Map();
  return (line) => {
    const [, key, stream, value] = line.match(/^#(media_type|tb) (\d+): (.*)$/) ?? [];
    if (key === 'media_type') kinds.set(stream, value);
    if (key === 'tb')
      bases.set(
        stream,
        value.split('/').reduce((over, under) => over / under),
      );
    if (line.startsWith('#')) return;
    const [index, time] = line.split(',').map((text) => text.trim());
    times[kinds.get(index)].push(Number(time) * bases.get(index));
  };
}

/**
 * @returns {number} Hz, by counting upward zero crossings; 0 for silence
 */
function pitch(piece) {
  let rises = 0;
  let power = 0;
  let before = 0;
  for (let place = 0; place < piece.length; place += SAMPLE_BYTES) {
    const sample = piece.readInt16LE(place);
    power += sample * sample;
    if (before < 0 && sample >= 0) rises += 1;
    before = sample;
  }
  return Math.sqrt(power / PIECE) < SILENT ? 0 : (rises * RATE) / PIECE;
}

/** @returns {{longest: number, shortest: number}} seconds between neighbours */
function gaps(times) {
  const between = times.slice(1).map((time, index) => time - times[index]);
  return { longest: Math.max(...between), shortest: Math.min(...between) };
}

module.exports = { gaps, watchStream };

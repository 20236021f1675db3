'use strict';

const { runChild, startChild } = require('../../../tools/rtmp/child');

const RATE = 48_000;

/** Audio sources for ffmpeg's filters. */
const AUDIO = {
  /** @param {number} level the peak's share of full scale */
  tone: (level) => `aevalsrc=exprs=${level}*sin(2*PI*440*t):sample_rate=${RATE}`,
  /** White noise, at the level of a good microphone's noise. */
  hiss: `anoisesrc=amplitude=0.02:sample_rate=${RATE}:seed=1`,
  silence: `anullsrc=r=${RATE}:cl=mono`,
  /** Spoken words. */
  speech:
    "flite=voice=slt:text='A quick brown fox jumps over the lazy dog. " +
    'Nobody has ever seen that happen twice on the same day. ' +
    "Four grey geese in the green grass are grazing.'",
};

/** ffmpeg's arguments to read a filter's audio. */
const input = (filter) => ['-f', 'lavfi', '-i', filter];

/**
 * Writes a grey video file whose audio is the given pieces, one after the other.
 *
 * @param {string} file its extension selects the format
 * @param {{filter: string, seconds: number}[]} pieces
 */
async function writeAudioFile(file, pieces) {
  const seconds = pieces.reduce((sum, piece) => sum + piece.seconds, 0);
  const cut = pieces.map(
    (piece, index) => `[${index}]aformat=sample_rates=${RATE}:cl=mono,
    apad,atrim=duration=${piece.seconds}[s${index}]`,
  );
  const joined = pieces.map((_, index) => `[s${index}]`).join('');
  const graph = `${cut.join(';')};${joined}concat=n=${pieces.length}:v=0:a=1[sound]`;
  await runChild(
    'ffmpeg',
    [
      ...['-v', 'error', '-nostdin'],
      ...pieces.flatMap((piece) => input(piece.filter)),
      ...input(`color=gray:size=64x64:rate=10:duration=${seconds}`),
      ...['-filter_complex', graph, '-map', `${pieces.length}:v`, '-map', '[sound]'],
      ...['-c:v', 'mjpeg', '-c:a', 'pcm_s16le', '-t', String(seconds), '-y', file],
    ],
    { deadlineSeconds: 60 },
  );
}

/**
 * Publishes grey video with an audio source until it is stopped.
 *
 * @param {string} url
 * @param {string} filter
 * @returns {import('../../../tools/rtmp/child').Child}
 */
function startAudioPublisher(url, filter) {
  return startChild('ffmpeg', [
    ...['-v', 'error', '-nostdin', '-re', ...input('color=gray:size=64x64:rate=10')],
    ...['-re', ...input(filter)],
    ...['-c:v', 'libx264', '-preset', 'ultrafast', '-tune', 'zerolatency', '-g', '10'],
    ...['-pix_fmt', 'yuv420p', '-c:a', 'aac', '-b:a', '192k', '-f', 'flv', url],
  ]);
}

module.exports = { AUDIO, startAudioPublisher, writeAudioFile };

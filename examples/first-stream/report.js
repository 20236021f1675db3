'use strict';

/**
 * The report as text.
 *
 * @param {import('./first_stream').Report} report
 * @returns {string}
 */
function textReport({ seen, problems, frames, witness, pictures }) {
  const lines = ['', seen ? 'The stream was seen at the server.' : 'The stream was not seen.'];
  if (frames) {
    const rate = frames.delivered / Math.max(frames.seconds, 0.001);
    lines.push(
      `  frames    ${frames.captured} captured, ${frames.delivered} delivered to JavaScript ` +
        `(${rate.toFixed(1)} a second), ${frames.dropped} overtaken by newer ones`,
    );
  }
  const { video, audio } = witness ?? {};
  if (video) {
    lines.push(
      `  picture   ${video.codec} ${video.width}x${video.height}, ${video.fps} frames a second, ` +
        `${video.bitrate} kbit/s, a key frame every ${video.keyFrameSeconds} s`,
    );
  }
  if (audio) {
    lines.push(
      `  sound     ${audio.codec} ${audio.sampleRate} Hz, ${audio.channels} channels, ` +
        `${audio.bitrate} kbit/s`,
    );
  }
  for (const file of pictures) lines.push(`  written   ${file}`);
  for (const problem of problems) lines.push(`  problem   ${problem}`);
  return lines.join('\n');
}

module.exports = { textReport };

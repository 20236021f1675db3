'use strict';

/**
 * Formats the report as text.
 *
 * @param {import('./first_stream').Report} report
 * @returns {string}
 */
function textReport({ seen, errors, frames, witness, images }) {
  const lines = ['', seen ? 'The stream was seen at the server.' : 'The stream was not seen.'];
  if (frames) {
    const rate = frames.delivered / Math.max(frames.seconds, 0.001);
    lines.push(
      `  frames    ${frames.captured} captured, ${frames.delivered} delivered ` +
        `(${rate.toFixed(1)} a second), ${frames.dropped} replaced by newer ones`,
    );
  }
  const { video, audio } = witness ?? {};
  if (video) {
    lines.push(
      `  video     ${video.codec} ${video.width}x${video.height}, ${video.fps} frames/s, ` +
        `${video.bitrate} kbit/s, a key frame every ${video.keyFrameSeconds} s`,
    );
  }
  if (audio) {
    lines.push(
      `  audio     ${audio.codec} ${audio.sampleRate} Hz, ${audio.channels} channels, ` +
        `${audio.bitrate} kbit/s`,
    );
  }
  for (const file of images) lines.push(`  written   ${file}`);
  for (const error of errors) lines.push(`  error     ${error}`);
  return lines.join('\n');
}

/**
 * Formats the report of a playback as text.
 *
 * @param {import('./play_stream').PlayReport} report
 * @returns {string}
 */
function playReport({ seen, errors, frames, figures, images }) {
  const lines = ['', seen ? 'The stream was played.' : 'Nothing was played.'];
  if (seen) lines.push(`  frames    ${frames} delivered to JavaScript`);
  if (figures) lines.push(`  at last   ${figureText(figures)}`);
  for (const file of images) lines.push(`  written   ${file}`);
  for (const error of errors) lines.push(`  error     ${error}`);
  return lines.join('\n');
}

/** @param {object} figures the payload of "onPlayerStatistics" */
function figureText({ videoWidth, videoHeight, decodeFps, renderFps, videoBitrate, audioBitrate }) {
  return (
    `${videoWidth}x${videoHeight}, ${decodeFps} frames a second decoded, ${renderFps} shown, ` +
    `${videoBitrate} + ${audioBitrate} kbit/s`
  );
}

module.exports = { figureText, playReport, textReport };

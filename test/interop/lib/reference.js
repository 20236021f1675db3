'use strict';

const path = require('node:path');
const { startChild } = require('../../../tools/rtmp/child');
const { onLines } = require('../../../tools/rtmp/output');
const { PROMPT, playWithFfmpeg } = require('./ffmpeg_reference');

const FFMPEG8 = path.join(__dirname, 'ffmpeg8_reference_process.js');

/** @returns {Promise<import('./ffmpeg_reference').ReferenceReport>} */
async function playWithFfmpeg8(url, { seconds, timeoutSeconds, input = [], onStart = () => {} }) {
  const options = {};
  const words = [...PROMPT, ...input];
  for (let index = 0; index < words.length; index += 2) {
    options[words[index].slice(1)] = words[index + 1];
  }
  const limits = [String(seconds), String(timeoutSeconds)];
  const args = [FFMPEG8, url, ...limits, JSON.stringify(options)];
  const child = startChild(process.execPath, args);
  let report = { player: 'FFmpeg 8', videoFrames: 0, audioSamples: 0 };
  onLines(child.process.stdout, (line) => {
    const { started, ...rest } = JSON.parse(line);
    if (started) onStart();
    else report = rest;
  });
  const guard = setTimeout(() => child.stop(), (seconds + timeoutSeconds + 10) * 1000);
  const reason = await child.ended;
  clearTimeout(guard);
  if (report.videoFrames + report.audioSamples === 0) report.error ??= reason.slice(0, 300);
  return report;
}

/** Returns whether a reference decoded all streams of the media. */
function decodes(report, media) {
  return (!media.video || report.videoFrames > 0) && (!media.audio || report.audioSamples > 0);
}

/**
 * Plays a stream with the reference: Debian's ffmpeg, or FFmpeg 8 if that lacks something and
 * FFmpeg 8 is installed.
 *
 * @param {() => Promise<{url: string, input?: string[]}>} open gives the address, called once for each player
 * @param {import('./media').Media} media
 * @param {object} options as for playWithFfmpeg, and:
 * @param {boolean} options.hasFfmpeg8
 * @param {boolean} [options.newest] FFmpeg 8 only
 */
async function playWithReference(open, media, { hasFfmpeg8, newest, ...options }) {
  const play = async (player) => {
    const { url, input } = await open();
    return player(url, { ...options, input });
  };
  if (newest) return play(playWithFfmpeg8);
  const report = await play(playWithFfmpeg);
  if (decodes(report, media) || !hasFfmpeg8) return report;
  const newer = await play(playWithFfmpeg8);
  return newer.videoFrames + newer.audioSamples > 0 ? newer : report;
}

module.exports = { decodes, playWithReference };

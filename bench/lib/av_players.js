'use strict';

const path = require('node:path');
const { buildFolder } = require('../../tools/lib/project');
const { startChild } = require('../../tools/rtmp/child');
const { onLines } = require('../../tools/rtmp/output');
const { startRecorder } = require('../../test/e2e/support/audio_recorder');

const LOWEST = JSON.stringify({ latency: { preset: 'lowest' } });
const native = (name) => path.join(buildFolder('release'), 'bench', name);
const JAVASCRIPT = path.join(__dirname, 'frame_times_process.js');

/** Command lines of the compared players, each given a URL. */
const PLAYERS = {
  engine: (url) => [native('sdk_player'), url],
  lowest: (url) => [native('sdk_player'), url, LOWEST],
  javascript: (url) => ['node', JAVASCRIPT, url],
  reference: (url) => [native('reference_player'), url.startsWith('/') ? `file://${url}` : url],
};

/**
 * A player in a process of its own, with an audio output of its own that is recorded.
 *
 * @typedef {object} Frame
 * @property {number} ms when it arrived, monotonic clock
 * @property {number} code its number in the clip, -1 when it has none
 * @property {number} luma mean, without the code
 *
 * @param {Awaited<ReturnType<import('../../test/e2e/support/sound_server').startSoundServer>>} soundServer
 * @param {string} name of PLAYERS
 * @param {string} url
 */
async function startObservedPlayer(soundServer, name, url) {
  const output = `${name}_${process.hrtime.bigint()}`;
  await soundServer.addOutput(output);
  const environment = soundServer.environment(output);
  const recorder = startRecorder(environment);
  const player = startChild('env', [...environment, ...PLAYERS[name](url)]);
  const frames = [];
  const errors = [];
  onLines(player.process.stdout, (line) => {
    const [kind, ...rest] = line.split(' ');
    if (kind === 'error') errors.push(rest.join(' '));
    if (kind !== 'frame') return;
    const [ns, code, luma] = rest.map(Number);
    frames.push({ ms: ns / 1e6, code, luma });
  });
  return {
    frames,
    /** Ends both. @returns {Promise<{frames: Frame[], errors: string[], recording: object}>} */
    async stop() {
      const reason = await player.stop();
      if (player.process.exitCode) errors.push(reason);
      return { frames, errors, recording: await recorder.stop() };
    },
  };
}

module.exports = { PLAYERS, startObservedPlayer };

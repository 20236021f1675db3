'use strict';

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');
const { runChild, startChild } = require('../../../tools/rtmp/child');

/**
 * A private PulseAudio server without a sound card. Programs connect to it through the environment
 * that `environment` returns, each with an output of its own, a null sink that can be recorded; the
 * default is "default_output".
 */
async function startSoundServer() {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'sound-'));
  const socket = path.join(folder, 'sound');
  const server = `unix:${socket}`;
  const child = startChild('env', [
    ...[`HOME=${folder}`, `XDG_RUNTIME_DIR=${folder}`, 'pulseaudio', '-n', '--daemonize=no'],
    // With real-time priority the kernel would kill it on a busy machine.
    ...['--realtime=no', '--high-priority=no'],
    ...['--exit-idle-time=-1', '--use-pid-file=no', '--disallow-exit', '--log-level=error'],
    ...['-L', `module-native-protocol-unix auth-anonymous=1 socket=${socket}`],
    ...['-L', 'module-null-sink sink_name=default_output rate=48000'],
  ]);
  let ended;
  child.ended.then((reason) => {
    ended = reason;
  });
  while (!fs.existsSync(socket)) {
    if (ended) throw new Error(ended);
    await sleep(20);
  }

  return {
    /** For PULSE_SERVER. */
    address: server,

    /** Adds an output. @param {string} name one word */
    addOutput: (name) =>
      runChild(
        'pactl',
        [
          `--server=${server}`,
          'load-module',
          'module-null-sink',
          `sink_name=${name}`,
          'rate=48000',
        ],
        { deadlineSeconds: 10 },
      ),

    /** @returns {string[]} for env(1): programs play to that output, or record from its monitor */
    environment: (output) => [
      ...[`PULSE_SERVER=${server}`, `PULSE_SINK=${output}`, `PULSE_SOURCE=${output}.monitor`],
      ...[`HOME=${folder}`, `XDG_RUNTIME_DIR=${folder}`],
    ],

    async stop() {
      await child.stop();
      fs.rmSync(folder, { recursive: true, force: true });
    },
  };
}

module.exports = { startSoundServer };

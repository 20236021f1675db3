'use strict';

// Random use of the default SDK, in successive processes.

const { startRtmpServer } = require('../../../tools/rtmp/rtmp_server');
const { runScenario } = require('../support/scenario');

const RUNS = 5;
const SHARE = 0.25; // of the run's time

async function run({ minutes, seed }, report) {
  const server = await startRtmpServer();
  const seconds = Math.max(5, Math.round((minutes * 60 * SHARE) / RUNS));
  for (let index = 0; index < RUNS; index += 1) {
    let calls = 0;
    const args = [server.url(`s${index}`), seed + index, seconds].map(String);
    const failures = await runScenario('monkey_process.js', args, {
      deadlineSeconds: seconds + 60,
      onMessage: (message) => {
        calls = message.calls;
      },
    });
    report({ what: `seed ${seed + index}`, figures: `${calls} calls in ${seconds} s`, failures });
  }
  await server.stop();
}

module.exports = { run };

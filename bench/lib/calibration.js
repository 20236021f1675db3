'use strict';

const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');
const { buildFolder } = require('../../tools/lib/project');
const { startChild } = require('../../tools/rtmp/child');
const { onLines } = require('../../tools/rtmp/output');
const { startRecorder } = require('../../test/e2e/support/audio_recorder');
const { findBeeps, spread } = require('./av_sync');

const SECONDS = 10;

/**
 * Measures the recorder's offset to the time at which the sound server itself plays a beep.
 *
 * @param {Awaited<ReturnType<import('../../test/e2e/support/sound_server').startSoundServer>>} soundServer
 * @returns {Promise<{mean: number, deviation: number, min: number, max: number}>} ms
 */
async function calibrateRecorder(soundServer) {
  await soundServer.addOutput('calibration');
  const environment = soundServer.environment('calibration');
  const recorder = startRecorder(environment);
  const program = path.join(buildFolder('release'), 'bench/beep_at_known_time');
  const source = startChild('env', [...environment, program]);
  const expected = [];
  onLines(source.process.stdout, (line) => expected.push(Number(line.split(' ')[1]) / 1e6));
  await sleep(SECONDS * 1000);
  await source.stop();
  const beeps = findBeeps(await recorder.stop());
  const offsets = beeps
    .map(({ ms }) => {
      const nearest = expected.map((time) => ms - time).sort((a, b) => Math.abs(a) - Math.abs(b));
      return nearest[0];
    })
    .filter((offset) => Math.abs(offset) < 400);
  if (offsets.length < SECONDS / 2) throw new Error(`only ${offsets.length} calibration beeps`);
  return spread(offsets);
}

module.exports = { calibrateRecorder };

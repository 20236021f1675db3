'use strict';

/*
 * A hundred thousand calls that mean harm (`npm run test:nightly` makes ten million): every method
 * with generated arguments, see support/hostile_values.js for what these do. Nothing may be thrown
 * but the TypeError for `new` and for wrong receivers, every answer must be of a documented type, and
 * the process must live.
 *
 * Left out are null and undefined in "mixStreams", which are documented to end the process.
 *
 * The seed is another one in every run, and stands in the tests' names. LUMO_SEED=… makes the same
 * calls again. LUMO_TEST_SCALE makes fewer of them.
 */

const assert = require('node:assert/strict');
const { spawnSync } = require('node:child_process');
const crypto = require('node:crypto');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after, describe, it } = require('node:test');
const { outputOf } = require('../support/fresh_process');
const { scaled } = require('./scale');

const PROCESSES = 4;
const CALLS = scaled(25_000);
const SEED = Number(process.env.LUMO_SEED ?? crypto.randomInt(1, 2 ** 31));

const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'hostile-calls-'));
after(() => fs.rmSync(folder, { recursive: true }));

/** Lets a process of its own make hostile calls. */
function makeHostileCalls(seed) {
  const noteFile = path.join(folder, `${seed}`);
  const script = path.join(__dirname, 'hostile_process.js');
  const { status, signal, error, stderr } = spawnSync(
    process.execPath,
    ['--expose-gc', script, `${seed}`, `${CALLS}`, noteFile],
    { encoding: 'utf8', stdio: ['ignore', 'ignore', 'pipe'], timeout: 280_000 },
  );
  if (status === 0) return;
  const last = fs.existsSync(noteFile) ? fs.readFileSync(noteFile, 'utf8').trim() : 'none';
  const end = error?.code ?? signal ?? `exit code ${status}`;
  assert.fail(`${end} with LUMO_SEED=${SEED}; the last call: ${last}\n${stderr}`);
}

describe('hostile code', () => {
  for (let index = 0; index < PROCESSES; index += 1) {
    it(`makes ${CALLS} calls and breaks nothing, seed ${SEED} + ${index}`, () =>
      makeHostileCalls(SEED + index));
  }
});

const OPTIONS_READERS = `
  const readers = [
    ...['initPusher', 'startPreview', 'startPreviewAsync', 'setMute', 'initPlayer', 'addPlugin'],
    ...['enableAudioVolumeIndication', 'setResolution', 'setScreenShareEncoderConfiguration'],
    'setLiveMixTranscodingConfig',
  ].map((method) => (options) => wrapper[method](options));
  const id = wrapper.initPlayer({});
  readers.push((options) => wrapper.setPlayView(id, options));
  readers.push((options) => wrapper.setLiveMixTranscodingConfig({ mixStreams: [options, options] }));
  readers.push((options) => {
    const { a, b = a } = Object.getOwnPropertyDescriptors(options);
    const mixStreams = Object.defineProperties([], { 0: a, 1: b });
    wrapper.setLiveMixTranscodingConfig({ mixStreams, get c() { return b.get(); } });
  });`;

describe('the engine', () => {
  it('may stop a script inside a getter, and the script stays stopped', () => {
    const output = outputOf(`
      ${OPTIONS_READERS}
      const vm = require('node:vm');
      let survived = 0;
      for (global.reader of readers) {
        global.survive = () => { survived += 1; };
        const endless = 'get a() { for (;;) ; }, get b() { survive(); for (;;) ; }';
        try {
          vm.runInThisContext('reader({ ' + endless + ' }); survive();', { timeout: 20 });
        } catch ({ code }) {
          console.log(code);
        }
      }
      console.log(survived, wrapper.stopPreview());
      process.exit();`);
    assert.equal(output, `${'ERR_SCRIPT_EXECUTION_TIMEOUT\n'.repeat(13)}0 0\n`);
  });

  it('may run out of stack in every method, in getters and in the factory', () => {
    const output = outputOf(`
      ${OPTIONS_READERS}
      const { prototype } = addon.LumoLivePushJSWrapper;
      sdk.answer('getCameraList', [{ deviceName: 'camera' }]);
      sdk.answer('getScreenShareSourceInfo', [{ sourceName: 'desktop' }]);
      wrapper.enablePlugin('an entry', true);
      const methods = Object.keys(prototype).filter((key) => key !== 'constructor');
      const calls = [
        ...methods.map((method) => () => wrapper[method]()),
        ...readers.map((read) => () => read({ get a() { return [].concat(1); } })),
        createLivePush,
        () => addon.LumoLivePushJSWrapper(true),
        () => new addon.LumoLivePushJSWrapper(true),
      ];
      // Calls from the last frames that fit; how much stack each leaves depends on the padding.
      const descend = (call, ...padding) => {
        let left = 20;
        try {
          left = descend(call, ...padding);
        } catch (error) {
          if (!(error instanceof RangeError)) throw error;
        }
        if (left > 0) call();
        return left - 1;
      };
      for (const call of calls) {
        for (let padding = 0; padding < 8; padding += 1) descend(call, ...Array(padding));
        sdk.forget();
      }
      console.log(sdk.lateCalls(), wrapper.stopPreview());
      process.exit();`);
    assert.equal(output, '0 0\n');
  });
});

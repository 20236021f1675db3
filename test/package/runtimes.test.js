// One package on every supported Node: the default SDK delivers frames of a preview, and another
// SDK in its place is driven.

const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { buildFolder } = require('../../tools/lib/project');
const { makeApplication, mustRun, removeApplications, runtimes } = require('./support/application');

const PREVIEW = `
  const { createLivePush, sdkDirectory } = require('lumolivepush-electron-sdk');
  const live = createLivePush();
  live.registPlugin(sdkDirectory);
  live.setExtraConfig(JSON.stringify({ camera: 'test', microphone: 'test' }));
  live.addEventListener('onVideoRenderData', (frames) => {
    if (frames.length === 0) return;
    const [{ width, height, data_y }] = frames;
    console.log(JSON.stringify({ width, height, luma: data_y.length }));
    process.exit();
  });
  live.initPusher({ width: 640, height: 360, frameRate: 30 });
  live.startPreview({ view: null, width: 640, height: 360 });
`;

const WHICH_SDK = `
  const live = require('lumolivepush-electron-sdk').createLivePush();
  live.initPusher({ width: 640, height: 360 });
  console.log(live.startPush('rtmp://127.0.0.1/live/stream'));
  console.log(/\\S+NimboSdk$/m.exec(require('fs').readFileSync('/proc/self/maps', 'utf8'))[0]);
  process.exit();
`;

describe('the installed package', () => {
  let folder;
  let installed;
  before(() => {
    ({ folder, installed } = makeApplication({ 'preview.js': PREVIEW, 'which_sdk.js': WHICH_SDK }));
  });
  after(removeApplications);

  for (const { version, abi, node } of runtimes) {
    it(`shows a camera on Node ${version}`, () => {
      const frame = JSON.parse(mustRun(node, ['preview.js'], { cwd: folder }).split('\n').at(-2));
      assert.deepEqual(frame, { width: 640, height: 360, luma: 640 * 360 });
    });

    it(`drives another SDK on Node ${version}`, () => {
      const build = path.join(folder, `scripted-${abi}`);
      const scripted = path.join(buildFolder('release'), 'scripted', 'NimboSdk.framework');
      fs.cpSync(scripted, path.join(build, 'NimboSdk.framework'), { recursive: true });
      fs.copyFileSync(
        path.join(installed, 'prebuilds', 'linux-x64', `node.abi${abi}.node`),
        path.join(build, 'lumolivepush_electron_sdk.node'),
      );
      const options = { cwd: folder, env: { LUMO_BUILD_DIR: build } };
      const [result, sdk] = mustRun(node, ['which_sdk.js'], options).split('\n');
      assert.equal(result, '0');
      assert.equal(sdk, path.join(build, 'NimboSdk.framework', 'NimboSdk'));
    });
  }
});

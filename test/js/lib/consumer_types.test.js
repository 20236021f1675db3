'use strict';

// The type declarations in the projects of applications: for each way in which TypeScript resolves
// modules, with and without @types/node, with the declarations themselves checked.

const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after, describe, it } = require('node:test');
const ts = require('typescript');

const root = path.resolve(__dirname, '../../..');
const typeRoots = [path.join(root, 'node_modules/@types')];
const folder = fs.mkdtempSync(path.join(fs.realpathSync(os.tmpdir()), 'lumo-consumer-'));
after(() => fs.rmSync(folder, { recursive: true }));

// A copy: files beside this project's node_modules could find @types/node there.
const installed = path.join(folder, 'node_modules/lumolivepush-electron-sdk');
const isDeclaration = (file) => fs.statSync(file).isDirectory() || /\.d\.m?ts$/.test(file);
fs.cpSync(path.join(root, 'lib'), path.join(installed, 'lib'), {
  recursive: true,
  filter: isDeclaration,
});
fs.copyFileSync(path.join(root, 'package.json'), path.join(installed, 'package.json'));

/** What an application does with bytes, views and `await using`. */
const USES = `
import { createLivePush, LivePush, type VideoFrame } from 'lumolivepush-electron-sdk';
declare const frame: VideoFrame;
export const rows: Uint8Array = frame.data_y.subarray(0, frame.width);
createLivePush().startPreview({ view: new Uint32Array(1), width: 1, height: 1 });
export async function publish(): Promise<void> {
  await using live = new LivePush();
  await live.startPush('rtmp://host/app/stream', { timeoutMs: 5000 });
}
// @ts-expect-error: the declarations have types, none of which is any
frame.data_y.unknown;
`;
const NODE_USES = `
export const first: number = frame.data_y.readUInt8(0);
createLivePush().startPreview({ view: Buffer.alloc(4), width: 1, height: 1 });
new LivePush().startPush('rtmp://host/app/stream', { signal: AbortSignal.timeout(1000) });
`;
const DOM_USES = `
new LivePush().startPush('rtmp://host/app/stream', { signal: new AbortController().signal });
`;

const ENVIRONMENTS = {
  'without @types/node': [{ types: [], typeRoots: [], lib: ['lib.es2022.d.ts'] }, USES],
  'of browsers': [
    { types: [], typeRoots: [], lib: ['lib.es2022.d.ts', 'lib.dom.d.ts'] },
    USES + DOM_USES,
  ],
  'with @types/node': [{ types: ['node'], typeRoots, lib: ['lib.es2022.d.ts'] }, USES + NODE_USES],
};
const RESOLUTIONS = {
  node16: { module: ts.ModuleKind.Node16 },
  nodenext: { module: ts.ModuleKind.NodeNext },
  bundler: { module: ts.ModuleKind.ESNext, moduleResolution: ts.ModuleResolutionKind.Bundler },
};

/** @returns {string[]} the diagnostics of an application's CommonJS and ES modules */
function diagnose(options, source) {
  const files = ['application.cts', 'application.mts'].map((name) => path.join(folder, name));
  for (const file of files) fs.writeFileSync(file, source);
  const program = ts.createProgram(files, {
    ...{ strict: true, noEmit: true, skipLibCheck: false, target: ts.ScriptTarget.ES2022 },
    ...options,
  });
  return ts
    .getPreEmitDiagnostics(program)
    .map(({ file, messageText }) => `${file?.fileName}: ${JSON.stringify(messageText)}`);
}

describe('an application compiles', () => {
  for (const [resolution, module] of Object.entries(RESOLUTIONS)) {
    for (const [environment, [options, source]] of Object.entries(ENVIRONMENTS)) {
      it(`${environment}, resolving modules as ${resolution}`, () => {
        assert.deepEqual(diagnose({ ...module, ...options }, source), []);
      });
    }
  }
});

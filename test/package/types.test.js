// The installed package's declarations under the TypeScript versions that applications use.

const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { root } = require('../../tools/lib/project');
const {
  makeApplication,
  mustRun,
  removeApplications,
  run,
  tools,
} = require('./support/application');

const VERSIONS = ['5', '6', '7'];
const RESOLUTIONS = {
  node16: { module: 'node16' },
  nodenext: { module: 'nodenext' },
  bundler: { module: 'esnext', moduleResolution: 'bundler' },
};
const ENVIRONMENTS = { 'without @types/node': [], 'with @types/node': ['node'] };

const SOURCE = `
import { createLivePush, LivePush, loadError, type AddonLoadErrorCode } from 'lumolivepush-electron-sdk';
export const code: AddonLoadErrorCode | undefined = loadError?.code;
createLivePush().addEventListener('onVideoRenderData', ([{ data_y, width }]) => data_y.subarray(0, width));
export const live = new LivePush();
export const started: Promise<unknown> = live.startPush('rtmp://host/app/stream');
`;
const MISTAKE = `${SOURCE}\nlive.startPush(5);\n`;

describe('an application that uses the installed package', () => {
  let folder;
  before(() => {
    const sources = { 'good.mts': SOURCE, 'good.cts': SOURCE, 'bad.mts': MISTAKE };
    ({ folder } = makeApplication(sources));
    for (const types of ['@types/node', 'undici-types']) {
      const installed = path.join('node_modules', types);
      fs.cpSync(path.join(root, installed), path.join(folder, installed), { recursive: true });
    }
  });
  after(removeApplications);

  for (const version of VERSIONS) {
    const compiler = path.join(tools, `typescript-${version}`, 'bin', 'tsc');
    for (const [resolution, module] of Object.entries(RESOLUTIONS)) {
      for (const [environment, types] of Object.entries(ENVIRONMENTS)) {
        it(`compiles by TypeScript ${version} ${environment}, resolving as ${resolution}`, () => {
          const compilerOptions = { strict: true, noEmit: true, skipLibCheck: false };
          const target = { target: 'es2022', lib: ['es2022', 'esnext.disposable'] };
          const compile = (...files) => {
            const config = {
              compilerOptions: { ...compilerOptions, ...target, ...module, types },
              files,
            };
            fs.writeFileSync(path.join(folder, 'tsconfig.json'), JSON.stringify(config));
            return run(process.execPath, [compiler, '--pretty', 'false'], { cwd: folder });
          };
          assert.equal(compile('good.mts', 'good.cts').stdout, '');
          assert.match(compile('bad.mts').stdout, /^bad\.mts\(8,\d+\): error TS2345/);
        });
      }
    }
    it(`is compiled by TypeScript ${version}`, () => {
      assert.match(
        mustRun(process.execPath, [compiler, '--version']),
        RegExp(`^Version ${version}`),
      );
    });
  }
});

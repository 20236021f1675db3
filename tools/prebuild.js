'use strict';

// Builds what the package brings, into prebuilds/: the default SDK, and the add-on for every
// supported Node and for the versions of Electron that are named. The binaries are stripped; their
// debug information goes to build/prebuild/debug, where debuggers find it by build id.
//
// Usage: node tools/prebuild.js [--electron VERSION[=HEADERS]]...
//   VERSION  for example 39.2.0; HEADERS: the folder that holds its node.h, by default from cmake-js
//   LUMO_PREBUILD_ELECTRON="VERSION VERSION"  the same, for npm pack, which runs this

const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { parseArgs } = require('node:util');
const { prebuildsFolder, sdkFileIn } = require('../lib/binaries');
const { buildAddon, buildSdk } = require('../lib/rebuild/build_addon');
const { abiOf, findHeaders } = require('../lib/rebuild/headers');
const { root } = require('./lib/project');
const { fetchRuntime, headersOf, versions } = require('./lib/runtimes');

const work = path.join(root, 'build', 'prebuild');
const prebuilds = path.join(root, prebuildsFolder());
const type = 'RelWithDebInfo';

function parseElectrons() {
  const { values } = parseArgs({ options: { electron: { type: 'string', multiple: true } } });
  const named = (process.env.LUMO_PREBUILD_ELECTRON ?? '').split(' ').filter((each) => each !== '');
  return [...named, ...(values.electron ?? [])].map((each) => {
    const [version, headers] = each.split('=');
    return {
      runtime: 'electron',
      headers: headers ?? findHeaders({ name: 'electron', version }),
    };
  });
}

async function fetchNodes() {
  const nodes = [];
  for (const version of Object.values(versions)) {
    nodes.push({ runtime: 'node', headers: headersOf(await fetchRuntime(version)) });
  }
  return nodes;
}

/** Debuggers look for a file's debug information under its build id. */
function debugFileOf(file) {
  const [, id] = /Build ID: ([0-9a-f]+)/.exec(
    execFileSync('readelf', ['-n', file], { encoding: 'utf8' }),
  );
  return path.join(work, 'debug', '.build-id', id.slice(0, 2), `${id.slice(2)}.debug`);
}

/** Copies a binary without its debug information, which is kept aside. */
function pack(file, to) {
  const debug = debugFileOf(file);
  fs.mkdirSync(path.dirname(debug), { recursive: true });
  fs.mkdirSync(path.dirname(to), { recursive: true });
  execFileSync('objcopy', ['--only-keep-debug', file, debug]);
  execFileSync('strip', ['--strip-unneeded', '-o', to, file]);
  console.error(`${path.relative(root, to)}: ${fs.statSync(to).size} bytes`);
}

async function main() {
  const electrons = parseElectrons();
  const nodes = await fetchNodes();
  const sdk = buildSdk({ folder: path.join(work, 'sdk'), headers: nodes[0].headers, type });
  const addons = [...nodes, ...electrons].map(({ runtime, headers }) => {
    const name = `${runtime}.abi${abiOf(headers)}`;
    return {
      name,
      file: buildAddon({ folder: path.join(work, name), runtime, headers, sdk, type }),
    };
  });
  // What an earlier run, or the rebuild command, has left there would be packed too.
  fs.rmSync(prebuilds, { recursive: true, force: true });
  pack(sdk, sdkFileIn(prebuilds));
  for (const { name, file } of addons) pack(file, path.join(prebuilds, `${name}.node`));
}

main().catch((error) => {
  console.error(`prebuild: ${error.message}`);
  process.exitCode = 1;
});

'use strict';

// Packs the npm package, fetches every supported runtime, and runs the tests of test/package/: what
// is in the package, what it does once installed, and what the tools of applications make of it. The
// last line is `N passed, N failed`.
//
// Usage: node tools/test-package.js [FILE...]

const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { runNodeTests } = require('./lib/node_tests');
const { buildFolder, root, testFiles } = require('./lib/project');
const { fetchRuntime, versions } = require('./lib/runtimes');
const { endWith, runStages } = require('./lib/tally');

const folder = path.join(root, 'build', 'package');

/** @returns {string} the packed package */
function pack() {
  fs.rmSync(folder, { recursive: true, force: true });
  fs.mkdirSync(folder, { recursive: true });
  const options = { cwd: root, stdio: ['ignore', 2, 2] };
  execFileSync('npm', ['pack', '--pack-destination', folder], options);
  return path.join(folder, fs.readdirSync(folder)[0]);
}

async function main() {
  const tarball = pack();
  const nodes = [];
  for (const version of Object.values(versions)) nodes.push(await fetchRuntime(version));
  const env = { LUMO_TARBALL: tarball, LUMO_RUNTIMES: nodes.join(path.delimiter) };
  const files = process.argv.length > 2 ? process.argv.slice(2) : testFiles('package');
  const options = { buildFolder: buildFolder('release'), env, deadlineSeconds: 600 };
  return runStages([{ name: 'package', run: (tally) => runNodeTests(tally, files, options) }]);
}

endWith(main);

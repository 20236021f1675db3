'use strict';

// Builds the add-on for every supported runtime (lib/runtimes.js) and runs the JavaScript tests in
// each. The last line is `N passed, N failed`.
//
// Usage: node tools/test-runtimes.js [MAJOR...]

const { runNodeTests } = require('./lib/node_tests');
const { testFiles } = require('./lib/project');
const { buildForRuntime, versions } = require('./lib/runtimes');
const { endWith, runStages } = require('./lib/tally');

async function testRuntime(tally, version) {
  const runtime = await buildForRuntime(version);
  await runNodeTests(tally, testFiles('js'), runtime);
}

async function main() {
  const majors = process.argv.length > 2 ? process.argv.slice(2) : Object.keys(versions);
  const unknown = majors.find((major) => !(major in versions));
  if (unknown) throw new Error(`${unknown}: expected ${Object.keys(versions).join(', ')}`);
  return runStages(
    majors.map((major) => ({
      name: `Node ${versions[major]}`,
      run: (tally) => testRuntime(tally, versions[major]),
    })),
  );
}

endWith(main);

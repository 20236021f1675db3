'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { run } = require('./run');
const { count } = require('./tally');

/**
 * Runs the C++ tests of a build folder, two at a time, and counts every one.
 *
 * @param {import('./tally').Tally} tally
 * @param {string} buildFolder absolute
 * @param {object} [options]
 * @param {NodeJS.ProcessEnv} [options.env] added to the tests' environment
 * @param {string} [options.pattern] a regular expression: run only tests whose names match
 */
async function runCtest(tally, buildFolder, { env, pattern } = {}) {
  const results = path.join(buildFolder, 'ctest.xml');
  fs.rmSync(results, { force: true });
  const args = ['--test-dir', buildFolder, '--output-on-failure', '--no-tests=error'];
  args.push('--parallel', '2', '--timeout', '300', '--output-junit', results);
  if (pattern) args.push('-R', pattern);
  const { ok, reason } = await run('ctest', args, { env });

  let failed = 0;
  const cases = fs.existsSync(results) ? testCases(fs.readFileSync(results, 'utf8')) : [];
  for (const { name, status, output } of cases) {
    if (status === 'notrun' || status === 'disabled') {
      const why = skipReason(output);
      if (why) tally.skips.push(`${name} (${why})`);
      else count(tally, false, `${name}: skipped without a reason`);
      continue;
    }
    if (status !== 'run') failed += 1;
    count(tally, status === 'run', name);
  }
  if (!ok && failed === 0) count(tally, false, `ctest: ${reason}`);
}

/** The test cases of ctest's own JUnit file; its writer puts one element on one line. */
function testCases(xml) {
  const pattern = /<testcase name="([^"]*)"[^>]*status="([^"]*)">([\s\S]*?)<\/testcase>/g;
  return [...xml.matchAll(pattern)].map(([, name, status, output]) => ({
    name: unescapeXml(name),
    status,
    output: unescapeXml(output),
  }));
}

/** GoogleTest prints the text of GTEST_SKIP() on the line after the place of the skip. */
function skipReason(output) {
  return output.match(/: Skipped\n(.+)/)?.[1].trim();
}

function unescapeXml(text) {
  const entities = { lt: '<', gt: '>', quot: '"', apos: "'", amp: '&' };
  return text.replace(/&(lt|gt|quot|apos|amp);/g, (_, name) => entities[name]);
}

module.exports = { runCtest };

'use strict';

// Checks the project's files without running them: formatting, JavaScript lint, the words of the
// glossary, the npm package (links of its documents, metadata and types, notices of what its binaries
// contain), the engine's include graph, how its functions fail and what its mutexes guard, clang-tidy,
// and that the build compiles every C++ source. Needs a built build/release and what
// tools/package-check installs. Configures build/lint, where each source is compiled alone.
//
// Usage: node tools/lint.js

const sitePages = require('../docs/site/pages.json');
const { noticesAreCurrent } = require('./generate-notices');
const { clangTidy, compileCommands } = require('./lib/clang_tidy');
const { errorTexts } = require('./lib/error_shapes');
const { glossaryDefects } = require('./lib/glossary');
const {
  allowedIncludes,
  graphDefects,
  includeGraph,
  systemDefects,
} = require('./lib/include_graph');
const { unseenLocks } = require('./lib/lock_names');
const { brokenLinks, packedFiles } = require('./lib/package_links');
const { buildFolder, root, sourceFiles } = require('./lib/project');
const { run } = require('./lib/run');
const { count, runStages } = require('./lib/tally');
const { thirdPartyDefects } = require('./lib/third_party');

/** What the npm package contains: five checks. */
async function lintPackage(tally) {
  const files = packedFiles();
  const listed = Object.values(sitePages).flatMap((pages) => Object.values(pages));
  const pages = files.filter((file) => file.endsWith('.md') && !listed.includes(file));
  count(tally, pages.length === 0, `docs/site/pages.json: add ${pages.join(', ')}`);

  const links = brokenLinks(files);
  count(tally, links.length === 0, `links in the npm package:\n${links.join('\n')}`);

  const { packageDefects } = await import('./package-check/check.mjs');
  const defects = await packageDefects(root, files);
  count(tally, defects.length === 0, `the npm package:\n${defects.join('\n')}`);

  count(tally, noticesAreCurrent(), 'THIRD-PARTY-NOTICES: run node tools/generate-notices.js');
  const parties = thirdPartyDefects(buildFolder('release'));
  count(tally, parties.length === 0, `tools/lib/third_party.js: ${parties.join('; ')}`);
}

/** @param {import('./lib/tally').Tally} tally each of the thirteen checks counts once */
async function lint(tally) {
  const cppFiles = sourceFiles('.h', '.cc');
  if (cppFiles.length === 0) throw new Error('no C++ file found');
  console.log(`clang-format: ${cppFiles.length} files`);
  const format = await run('clang-format', ['--dry-run', '-Werror', ...cppFiles]);
  count(tally, format.ok, 'clang-format: run npm run format');

  const colours = process.stdout.isTTY ? 'force' : 'off';
  const options = ['--error-on-warnings', `--colors=${colours}`];
  const biome = await run('node_modules/.bin/biome', ['ci', ...options]);
  count(tally, biome.ok, 'Biome: see above; npm run format fixes the formatting');

  const words = glossaryDefects(sourceFiles(''));
  count(tally, words.length === 0, `words, see CONTRIBUTING.md:\n${words.join('\n')}`);

  await lintPackage(tally);

  const defects = [
    ...graphDefects(includeGraph(cppFiles), allowedIncludes()),
    ...systemDefects(cppFiles),
  ];
  count(tally, defects.length === 0, `folders of sdk/engine: ${defects.join('; ')}`);

  const texts = errorTexts(cppFiles);
  count(
    tally,
    texts.length === 0,
    `return a Result (base/result.h) instead of an error's text: ${texts.join(', ')}`,
  );

  const locks = unseenLocks(cppFiles);
  count(
    tally,
    locks.length === 0,
    `name what a mutex guards (base/thread_annotations.h): ${locks.join(', ')}`,
  );

  const configured = await run('cmake', ['--preset', 'lint'], { capture: true });
  if (!configured.ok) throw new Error(`cmake --preset lint: ${configured.output}`);
  const folder = buildFolder('lint');
  const compiled = compileCommands(folder);
  const sources = sourceFiles('.cc');
  const orphans = sources.filter((file) => !compiled.has(file));
  count(tally, orphans.length === 0, `sources in no target: ${orphans.join(', ')}`);

  const checked = sources.filter((file) => compiled.has(file));
  const bad = await clangTidy(checked, folder);
  count(
    tally,
    checked.length > 0 && bad.length === 0,
    `clang-tidy: ${bad.join(', ') || 'no file'}`,
  );
}

module.exports = { lint };

if (require.main === module) {
  runStages([{ name: 'lint', run: lint }]).then((ok) => {
    process.exitCode = ok ? 0 : 1;
  });
}

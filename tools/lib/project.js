'use strict';

const { execFileSync } = require('node:child_process');
const path = require('node:path');

const root = path.resolve(__dirname, '../..');

/**
 * Lists the project's files with the given endings: tracked ones and untracked ones that are not
 * ignored. Deleted ones are left out.
 *
 * @param {...string} endings for example '.cc', '.test.js'
 * @returns {string[]} paths relative to the project's root, sorted
 */
function sourceFiles(...endings) {
  const list = (...options) =>
    execFileSync('git', ['ls-files', '-z', ...options], { cwd: root, encoding: 'utf8' })
      .split('\0')
      .filter(Boolean);
  const deleted = new Set(list('--deleted'));
  return [...new Set(list('--cached', '--others', '--exclude-standard'))]
    .filter((file) => endings.some((ending) => file.endsWith(ending)) && !deleted.has(file))
    .sort();
}

/**
 * The test files of a folder of test/, those of its subfolders too.
 *
 * @param {string} suite for example 'js'
 * @returns {string[]} paths relative to the project's root, sorted
 * @throws {Error} when there is none: a run without tests must not pass
 */
function testFiles(suite) {
  const files = sourceFiles('.test.js').filter((file) => file.startsWith(`test/${suite}/`));
  if (files.length === 0) throw new Error(`test/${suite}: no test file`);
  return files;
}

module.exports = {
  root,
  sourceFiles,
  testFiles,
  /** @param {string} preset @returns {string} absolute folder of a CMake preset's build */
  buildFolder: (preset) => path.join(root, 'build', preset),
};

'use strict';

const { execFileSync } = require('node:child_process');
const path = require('node:path');

const root = path.resolve(__dirname, '../..');

/**
 * Files of the project whose names end as asked: those that git knows and those that it would
 * add (untracked, not ignored). Deleted ones are left out.
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

module.exports = {
  root,
  sourceFiles,
  /** @param {string} preset @returns {string} absolute folder of a CMake preset's build */
  buildFolder: (preset) => path.join(root, 'build', preset),
};

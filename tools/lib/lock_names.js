'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { root } = require('./project');

const engine = 'sdk/engine/';
// The mutexes with annotations, which clang's thread-safety analysis follows.
const wrappers = `${engine}base/mutex.h`;

const standardMutex = /\bstd::(?:recursive_|shared_|timed_)*mutex\b/;
const mutexMember = /^\s*(?:mutable )?(?:Shared)?Mutex (\w+);/;

/**
 * Finds what clang's thread-safety analysis cannot see in the engine: mutexes of the standard library,
 * and mutexes that no member or function of the same file names.
 *
 * @param {string[]} files paths relative to the project's root; those outside of the engine are skipped
 * @returns {string[]} "file:line" of each
 */
function unseenLocks(files) {
  return files
    .filter((file) => file.startsWith(engine) && file !== wrappers)
    .flatMap((file) => {
      const text = fs.readFileSync(path.join(root, file), 'utf8');
      const isUnseen = (line) => {
        const name = line.match(mutexMember)?.[1];
        return standardMutex.test(line) || (name && !text.includes(`NIMBO_GUARDED_BY(${name})`));
      };
      return text
        .split('\n')
        .flatMap((line, index) => (isUnseen(line) ? [`${file}:${index + 1}`] : []));
    });
}

module.exports = { unseenLocks };

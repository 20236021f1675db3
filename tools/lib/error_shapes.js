'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { root } = require('./project');

const engine = 'sdk/engine/';

// A parameter that takes the text of an error out of a function.
const errorParameter = /(?<!const )std::string& ?(?:error|reason|problem|message|why)\w*\b/;

/**
 * Finds functions of the engine that report failures otherwise than by a Result (base/result.h):
 * through a parameter for the text.
 *
 * @param {string[]} files paths relative to the project's root; those outside of the engine are skipped
 * @returns {string[]} "file:line" of each
 */
function errorParameters(files) {
  return files
    .filter((file) => file.startsWith(engine))
    .flatMap((file) =>
      fs
        .readFileSync(path.join(root, file), 'utf8')
        .split('\n')
        .flatMap((line, index) => (errorParameter.test(line) ? [`${file}:${index + 1}`] : [])),
    );
}

module.exports = { errorParameters };

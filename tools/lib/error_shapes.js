'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { root } = require('./project');

const engine = 'sdk/engine/';

const shapes = [
  // A parameter that takes the text of an error out of a function.
  /(?<!const )std::string& ?(?:error|reason|problem|message|why)\w*\b/,
  // A text of an error that is empty on success.
  /\b(?:error|refusal|reason|problem|wrong|why)\w*\.empty\(\)/i,
  /\b(?:error|failure)\w*(?:\(\))?(?:\.|->)text\.empty\(\)/i,
  // A text of an error that is absent on success.
  /std::optional<std::string> \w*(?:error|refus|reason|problem|wrong|why)\w*\(/i,
];

/**
 * Finds where functions of the engine report failures otherwise than by a Result (base/result.h): by
 * a text alone.
 *
 * @param {string[]} files paths relative to the project's root; those outside of the engine are skipped
 * @returns {string[]} "file:line" of each
 */
function errorTexts(files) {
  return files
    .filter((file) => file.startsWith(engine))
    .flatMap((file) =>
      fs
        .readFileSync(path.join(root, file), 'utf8')
        .split('\n')
        .flatMap((line, index) =>
          shapes.some((shape) => shape.test(line)) ? [`${file}:${index + 1}`] : [],
        ),
    );
}

module.exports = { errorTexts };

'use strict';

const { existsSync } = require('node:fs');
const path = require('node:path');
const { parseArgs } = require('node:util');

const MINIMUM_SECONDS = 5;

const usage = `Usage: npm start -- [--seconds N] [--input FILE] [--json]
  --seconds N   stream for N seconds (default 20, at least ${MINIMUM_SECONDS}); Ctrl-C ends it early
  --input FILE  use a video file as the camera, and its sound, if it has any, as the microphone
  --json        print one JSON object at the end instead of text

Writes first-stream-preview.png and first-stream-remote.png into the current folder. Exit code 0
when the stream was seen at the server.`;

/**
 * @typedef {object} Options
 * @property {number} seconds
 * @property {string} [input] absolute path
 * @property {boolean} json
 * @property {boolean} help
 *
 * @param {string[]} args
 * @returns {Options}
 * @throws {Error} saying what is wrong with them
 */
function readOptions(args) {
  const { values } = parseArgs({
    args,
    options: {
      seconds: { type: 'string', default: '20' },
      input: { type: 'string' },
      json: { type: 'boolean', default: false },
      help: { type: 'boolean', default: false },
    },
  });
  const seconds = Number(values.seconds);
  if (!(seconds >= MINIMUM_SECONDS && Number.isFinite(seconds))) {
    throw new Error(`--seconds ${values.seconds}: expected a number, at least ${MINIMUM_SECONDS}`);
  }
  const input = values.input === undefined ? undefined : path.resolve(values.input);
  if (input !== undefined && !existsSync(input)) throw new Error(`--input ${input}: no such file`);
  return { ...values, seconds, input };
}

module.exports = { readOptions, usage };

'use strict';

const { existsSync } = require('node:fs');
const path = require('node:path');
const { parseArgs } = require('node:util');

const MINIMUM_SECONDS = 5;
const SCREEN = 'screen'; // a file of that name is ./screen

const usage = `Usage: npm start -- [--seconds N] [--input FILE|screen] [--plugin FILE[=JSON]]... [--json]
  --seconds N   stream for N seconds (default 20, at least ${MINIMUM_SECONDS}); Ctrl-C ends it early
  --input FILE  use a video file as the camera, and its sound, if it has any, as the microphone
  --input screen
                share the first screen of the X server that $DISPLAY names, without plug-ins
  --plugin FILE[=JSON]
                run a video-frame plug-in with these parameters; several run in the order given
  --json        print one JSON object at the end instead of text

Writes first-stream-preview.png and first-stream-remote.png into the current folder. Exit code 0
when the stream was seen at the server.`;

/**
 * @typedef {object} Options
 * @property {number} seconds
 * @property {string} [input] absolute path
 * @property {boolean} screen whether to share a screen instead
 * @property {{file: string, parameter?: string}[]} plugins absolute paths
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
      plugin: { type: 'string', multiple: true, default: [] },
      json: { type: 'boolean', default: false },
      help: { type: 'boolean', default: false },
    },
  });
  const seconds = Number(values.seconds);
  if (!(seconds >= MINIMUM_SECONDS && Number.isFinite(seconds))) {
    throw new Error(`--seconds ${values.seconds}: expected a number, at least ${MINIMUM_SECONDS}`);
  }
  const screen = values.input === SCREEN;
  const isFile = values.input !== undefined && !screen;
  const input = isFile ? existing('--input', values.input) : undefined;
  return { ...values, seconds, input, screen, plugins: values.plugin.map(readPlugin) };
}

/** @param {string} text FILE or FILE=JSON */
function readPlugin(text) {
  const [, file, parameter] = text.match(/^([^=]*)(?:=(.*))?$/s);
  return { file: existing('--plugin', file), parameter };
}

/** @returns {string} the file's absolute path @throws {Error} when there is none */
function existing(option, file) {
  if (!existsSync(file)) throw new Error(`${option} ${file}: no such file`);
  return path.resolve(file);
}

module.exports = { readOptions, usage };

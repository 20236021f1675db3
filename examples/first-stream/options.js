'use strict';

const { existsSync } = require('node:fs');
const path = require('node:path');
const { parseArgs } = require('node:util');

const MINIMUM_SECONDS = 5;
const NO_FILES = ['test', 'camera', 'screen']; // a file of such a name must be given as ./screen

const usage = `Usage: npm start -- [--seconds N] [--input INPUT] [--mix] [--plugin FILE[=JSON]]... [--json]
       npm start -- --play URL [--seconds N] [--json]
  --seconds N   stream for N seconds (default 20, at least ${MINIMUM_SECONDS}); Ctrl-C ends it early
  --input INPUT "test": a test pattern and tone (default); "camera": the system's default camera
                and microphone; "screen": the first screen of the X server that $DISPLAY names,
                without plug-ins; else a video file and its sound, if it has any
  --plugin FILE[=JSON]
                run a video-frame plug-in with these parameters; several run in the order given
  --mix         publish two more streams, play them, and mix them into the stream as small insets
  --play URL    play a stream instead of publishing one (rtmp, http, rtsp, srt, a file)
  --json        print one JSON object at the end instead of text

Writes first-stream-preview.png and first-stream-remote.png into the current folder. Exit code 0
when the stream was seen at the server, 130 when Ctrl-C ended it. With --play, writes
first-stream-played.png; exit code 0 when something was played.`;

/**
 * @typedef {object} Options
 * @property {number} seconds
 * @property {string} input "test", "camera", "screen" or a file's absolute path
 * @property {{file: string, parameter?: string}[]} plugins absolute paths
 * @property {boolean} mix
 * @property {string} [play] the URL
 * @property {boolean} json
 * @property {boolean} help
 *
 * @param {string[]} args
 * @returns {Options}
 * @throws {Error} that describes the mistake
 */
function readOptions(args) {
  const { values } = parseArgs({
    args,
    options: {
      seconds: { type: 'string', default: '20' },
      input: { type: 'string' },
      plugin: { type: 'string', multiple: true, default: [] },
      mix: { type: 'boolean', default: false },
      play: { type: 'string' },
      json: { type: 'boolean', default: false },
      help: { type: 'boolean', default: false },
    },
  });
  const seconds = Number(values.seconds);
  if (!(seconds >= MINIMUM_SECONDS && Number.isFinite(seconds))) {
    throw new Error(`--seconds ${values.seconds}: expected a number, at least ${MINIMUM_SECONDS}`);
  }
  if (values.play !== undefined && (values.mix || values.input || values.plugin.length > 0)) {
    throw new Error('--play cannot be combined with --mix, --input and --plugin');
  }
  const { input = 'test' } = values;
  return {
    ...values,
    seconds,
    input: NO_FILES.includes(input) ? input : existing('--input', input),
    plugins: values.plugin.map(readPlugin),
  };
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

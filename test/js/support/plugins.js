'use strict';

/*
 * The test plug-ins: where their libraries are, and what was done with them.
 */

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { beforeEach } = require('node:test');
const { buildDirectory } = require('./build_directory');

const pluginDirectory = path.join(buildDirectory, 'plugins');

const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'plugin-calls-'));
const callsFile = path.join(folder, 'calls');
process.on('exit', () => fs.rmSync(folder, { recursive: true }));

// Libraries read it when they are opened, in child processes as well.
process.env.LUMO_PLUGIN_LOG = callsFile;

/** What is done with a library, in order, when its plug-in is loaded, and when it is unloaded. */
const START = ['open', 'create', 'init', 'setPluginDirectory'];
const END = ['uninit', 'release', 'destroy', 'close'];

/** What the log says when a library was opened. */
const OPENED = ['InjectPlugin', 'Load BeautySDK Finish', 3];

/** The library of a test plug-in. */
function pluginPath(name) {
  return path.join(pluginDirectory, `${name}.so`);
}

function forgetPluginCalls() {
  fs.writeFileSync(callsFile, '');
}

/**
 * @returns {{plugin: string, call: string, argument: string, thread: 'loader'|'other'}[]} what was
 *   done with all plug-ins, in order; "open" and "close" tell of their libraries
 */
function pluginCalls() {
  const lines = fs.readFileSync(callsFile, 'utf8').split('\n').slice(0, -1);
  return lines.map((line) => {
    const [plugin, call, argument, thread] = line.split('\t');
    return { plugin, call, argument, thread };
  });
}

/** The names of the calls of one plug-in, or of all. */
function pluginCallNames(plugin) {
  return pluginCalls()
    .filter((each) => plugin === undefined || each.plugin === plugin)
    .map(({ call }) => call);
}

/** Begins every test of the file with an empty record of calls. */
function useFreshPluginCalls() {
  beforeEach(forgetPluginCalls);
}

module.exports = {
  END,
  OPENED,
  START,
  forgetPluginCalls,
  pluginCallNames,
  pluginCalls,
  pluginDirectory,
  pluginPath,
  useFreshPluginCalls,
};

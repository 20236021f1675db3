'use strict';

const { spawnSync } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');

const root = path.join(__dirname, '../..');

/**
 * @typedef {object} Runtime
 * @property {'node' | 'electron'} name
 * @property {string} version for example "39.2.0"
 */

/** @returns {Runtime} the one that runs this */
function runningRuntime({ electron, node } = process.versions) {
  return electron ? { name: 'electron', version: electron } : { name: 'node', version: node };
}

/** @returns {string[]} where Node's headers are if they came with the running one */
function besideRunning(runtime) {
  if (runtime.name !== 'node' || runtime.version !== process.versions.node) return [];
  const folder = path.resolve(process.execPath, '../../include/node');
  return fs.existsSync(path.join(folder, 'node_version.h')) ? [folder] : [];
}

/** @returns {string} cmake-js's program @throws {Error} when it is not installed */
function cmakeJs() {
  try {
    return require.resolve('cmake-js/bin/cmake-js', { paths: [root, process.cwd()] });
  } catch {
    throw new Error('the headers come from cmake-js: npm install --save-dev cmake-js@8');
  }
}

/** Asks cmake-js, which downloads headers once and keeps them in its own folder. */
function fromCmakeJs({ name, version }) {
  const args = ['print-cmakejs-include', '--log-level', 'error'];
  const target = ['--runtime', name, '--runtime-version', version, '--arch', process.arch];
  const { stdout, stderr, status } = spawnSync(process.execPath, [cmakeJs(), ...args, ...target], {
    cwd: root,
    encoding: 'utf8',
  });
  const folder = stdout.trim();
  if (status === 0 && folder !== '') return folder;
  const reason = stderr.trim() || 'it names none';
  throw new Error(`cmake-js has no headers of ${name} ${version}: ${reason}`);
}

/**
 * Finds the headers that an add-on for a runtime is compiled with: in npm's setting `nodedir`, else
 * beside the running Node, else by cmake-js.
 *
 * @param {Runtime} runtime
 * @returns {string} the folder that holds node.h
 * @throws {Error} with a text for the user
 */
function findHeaders(runtime, { npm_config_nodedir: nodedir } = process.env) {
  if (nodedir === undefined) return besideRunning(runtime)[0] ?? fromCmakeJs(runtime);
  if (runtime.name === 'electron') {
    throw new Error(
      `npm's setting nodedir names the headers of Node (${nodedir}), which do not fit Electron: ` +
        "remove it (npm config delete nodedir), or name Electron's headers with --headers",
    );
  }
  return path.join(nodedir, 'include', 'node');
}

/**
 * @param {string} headers the folder that holds node.h
 * @returns {string} the version of the binary interface that they describe, for example "140"
 * @throws {Error} when the folder holds no such headers
 */
function abiOf(headers) {
  const file = path.join(headers, 'node_version.h');
  if (!fs.existsSync(file)) throw new Error(`${headers} holds no headers: ${file} is missing`);
  const [, abi] = /^#define NODE_MODULE_VERSION (\d+)/m.exec(fs.readFileSync(file, 'utf8')) ?? [];
  if (!abi) throw new Error(`${file} does not define NODE_MODULE_VERSION`);
  return abi;
}

module.exports = { abiOf, findHeaders, runningRuntime };

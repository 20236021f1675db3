'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { unpackedPath } = require('./unpacked_path');

/**
 * The files of one build of the add-on.
 *
 * @typedef {object} Binaries
 * @property {string} directory holds NimboSdk.framework
 * @property {string} addon the add-on's file in it
 */

/** @returns {string} the runtime's name and the version of its binary interface: "node.abi115" */
function runtimeAbi({ electron, modules } = process.versions) {
  return `${electron ? 'electron' : 'node'}.abi${modules}`;
}

/**
 * Where the binaries for a runtime may be, the first that is there wins: what was built for this
 * runtime by the package's user, what the package brings, and what its developers have built.
 * LUMO_BUILD_DIR names the only place, for example a build with sanitizers.
 *
 * @param {string} root the package's folder
 * @returns {Binaries[]}
 */
function candidates(root, { platform, arch, versions, env } = process) {
  const inBuild = (...folder) => {
    const directory = unpackedPath(path.resolve(root, ...folder));
    return { directory, addon: path.join(directory, 'lumolivepush_electron_sdk.node') };
  };
  if (env.LUMO_BUILD_DIR) return [inBuild(env.LUMO_BUILD_DIR)];
  const abi = runtimeAbi(versions);
  const prebuilds = unpackedPath(path.join(root, 'prebuilds', `${platform}-${arch}`));
  return [
    inBuild('build', abi),
    { directory: prebuilds, addon: path.join(prebuilds, `${abi}.node`) },
    inBuild('build', 'release'),
  ];
}

/** Node's permission model throws for a file that may not be read. */
function isThere(file) {
  try {
    return fs.existsSync(file);
  } catch {
    return false;
  }
}

/**
 * @param {string} root
 * @returns {Binaries} those to load; where none are there, those that would be looked for last
 */
function findBinaries(root) {
  const all = candidates(root);
  return all.find(({ addon }) => isThere(addon)) ?? all.at(-1);
}

module.exports = { findBinaries, runtimeAbi };

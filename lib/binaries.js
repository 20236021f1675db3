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

/** @returns {string} the SDK's file in the folder that holds its framework */
function sdkFileIn(directory) {
  return path.join(directory, 'NimboSdk.framework', 'NimboSdk');
}

/** @returns {string} the folder of the package's binaries for a platform, beneath its root */
function prebuildsFolder({ platform, arch } = process) {
  return path.join('prebuilds', `${platform}-${arch}`);
}

/**
 * Where the binaries for a runtime may be, the first that is there wins: what the package brings or
 * its user has rebuilt, and what its developers have built. LUMO_BUILD_DIR names the only place, for
 * example a build with sanitizers.
 *
 * @param {string} root the package's folder
 * @returns {Binaries[]}
 */
function candidates(root, { env } = process) {
  const inFolder = (folder, addon) => {
    const directory = unpackedPath(path.resolve(root, folder));
    return { directory, addon: path.join(directory, addon) };
  };
  const built = 'lumolivepush_electron_sdk.node';
  if (env.LUMO_BUILD_DIR) return [inFolder(env.LUMO_BUILD_DIR, built)];
  return [
    inFolder(prebuildsFolder(), `${runtimeAbi()}.node`),
    inFolder(path.join('build', 'release'), built),
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

module.exports = { findBinaries, prebuildsFolder, runtimeAbi, sdkFileIn };

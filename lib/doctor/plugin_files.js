'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { missingLibraries } = require('../system_libraries');

const TRIPLETS = { x64: 'x86_64-linux-gnu', arm64: 'aarch64-linux-gnu' };

const libraryFolders = (triplet) => ['/usr/lib', '/usr/lib64', `/usr/lib/${triplet}`];

const split = (list) => list.split(':').filter((folder) => folder !== '');

/** @returns {string[]} the folders in which GStreamer looks for plug-ins, the first one first */
function pluginFolders({ env = process.env, triplet = TRIPLETS[process.arch] } = {}) {
  const own = env.GST_PLUGIN_PATH_1_0 ?? env.GST_PLUGIN_PATH ?? '';
  const system =
    env.GST_PLUGIN_SYSTEM_PATH_1_0 ??
    env.GST_PLUGIN_SYSTEM_PATH ??
    libraryFolders(triplet)
      .map((folder) => path.join(folder, 'gstreamer-1.0'))
      .join(':');
  return split(`${own}:${system}`);
}

/** @returns {boolean} whether GIO, which all connections are made with, finds a module for TLS */
function hasTls({ env = process.env, triplet = TRIPLETS[process.arch] } = {}) {
  const system = env.GIO_MODULE_DIR
    ? [env.GIO_MODULE_DIR]
    : libraryFolders(triplet).map((folder) => path.join(folder, 'gio', 'modules'));
  return [...split(env.GIO_EXTRA_MODULES ?? ''), ...system].some((folder) =>
    ['libgiognutls.so', 'libgioopenssl.so'].some((file) => fs.existsSync(path.join(folder, file))),
  );
}

/**
 * Whether the plug-in's file is there, and what it needs.
 *
 * @param {string} plugin
 * @param {string[]} folders where to look
 * @param {Set<string>} installed the system's libraries
 * @returns {'ok' | 'missing' | 'unusable'} "unusable": a library that it needs is missing
 */
function pluginState(plugin, folders, installed) {
  const file = folders
    .map((folder) => path.join(folder, `libgst${plugin}.so`))
    .find((each) => fs.existsSync(each));
  if (!file) return 'missing';
  return missingLibraries([file], installed).length > 0 ? 'unusable' : 'ok';
}

module.exports = { hasTls, pluginFolders, pluginState };

'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { missingLibraries } = require('../system_libraries');

const TRIPLETS = { x64: 'x86_64-linux-gnu', arm64: 'aarch64-linux-gnu' };

/** @returns {string[]} the folders in which GStreamer looks for plug-ins, the first one first */
function pluginFolders({ env = process.env, triplet = TRIPLETS[process.arch] } = {}) {
  const own = env.GST_PLUGIN_PATH_1_0 ?? env.GST_PLUGIN_PATH ?? '';
  const system =
    env.GST_PLUGIN_SYSTEM_PATH_1_0 ??
    env.GST_PLUGIN_SYSTEM_PATH ??
    ['/usr/lib', '/usr/lib64', `/usr/lib/${triplet}`]
      .map((folder) => path.join(folder, 'gstreamer-1.0'))
      .join(':');
  return `${own}:${system}`.split(':').filter((folder) => folder !== '');
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

module.exports = { pluginFolders, pluginState };

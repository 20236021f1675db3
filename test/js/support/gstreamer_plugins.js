'use strict';

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');

const TRIPLETS = { x64: 'x86_64-linux-gnu', arm64: 'aarch64-linux-gnu' };

/** The folder of the system's GStreamer plug-ins. */
const SYSTEM_PLUGINS = path.join('/usr/lib', TRIPLETS[process.arch] ?? '', 'gstreamer-1.0');

/**
 * Makes a folder with links to the system's GStreamer plug-ins, some of them left out.
 *
 * @param {...string} names of plug-ins, for example 'x264'
 * @returns {string} the folder, which the caller removes
 */
function withoutPlugins(...names) {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'lumo-plugins-'));
  const hidden = names.map((name) => `libgst${name}.so`);
  const files = fs.readdirSync(SYSTEM_PLUGINS);
  const strange = hidden.find((file) => !files.includes(file));
  if (strange) throw new Error(`${SYSTEM_PLUGINS} has no ${strange}`);
  for (const file of files.filter((each) => each.endsWith('.so') && !hidden.includes(each))) {
    fs.symlinkSync(path.join(SYSTEM_PLUGINS, file), path.join(folder, file));
  }
  return folder;
}

module.exports = { SYSTEM_PLUGINS, withoutPlugins };

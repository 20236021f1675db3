'use strict';

// The peers that the whole suite needs beyond those of "npm test".

const fs = require('node:fs');
const path = require('node:path');

const MODULES = ['node-av', 'node-media-server'];
const PROGRAMS = { vlc: 'vlc', 'srt-tools': 'srt-live-transmit' };

const folders = () => (process.env.PATH ?? '').split(path.delimiter);
const hasProgram = (name) => folders().some((folder) => fs.existsSync(path.join(folder, name)));
const hasModule = (name) => fs.existsSync(path.join(__dirname, '../node_modules', name));

/**
 * @returns {Set<string>} the names of the installed ones
 */
function peersThere() {
  const programs = Object.keys(PROGRAMS).filter((name) => hasProgram(PROGRAMS[name]));
  return new Set([...MODULES.filter(hasModule), ...programs]);
}

module.exports = { peersThere };

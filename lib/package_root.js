'use strict';

const { createRequire } = require('node:module');
const path = require('node:path');

const isBundled = path.basename(__filename) !== 'package_root.js';

/**
 * Finds the package's folder, with the binaries. Where a bundler has put these lines into a file of
 * an application, it is the package that is installed for that.
 *
 * @returns {string | undefined} undefined when none is
 */
function packageRoot() {
  if (!isBundled) return path.join(__dirname, '..');
  try {
    return path.dirname(
      createRequire(__filename).resolve('lumolivepush-electron-sdk/package.json'),
    );
  } catch {
    return undefined;
  }
}

module.exports = { packageRoot };

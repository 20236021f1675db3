'use strict';

/**
 * Where the operating system finds what Electron shows inside `app.asar`: native code can open
 * files of an archive only when they were unpacked beside it.
 *
 * @param {string} path
 * @returns {string} the path in `app.asar.unpacked`; any other path unchanged
 */
function unpackedPath(path) {
  return path.replace(/([\\/]app\.asar)(?=[\\/]|$)/, '$1.unpacked');
}

module.exports = { unpackedPath };

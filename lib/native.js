'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { AddonLoadError } = require('./addon_load_error');
const { findBinaries } = require('./binaries');
const { explainLoadFailure } = require('./explain_load_failure');

const { directory: sdkDirectory, addon: file } = findBinaries(path.join(__dirname, '..'));

/** @returns {{addon?: object, loadError?: AddonLoadError}} never throws */
function load() {
  const sdk = path.join(sdkDirectory, 'NimboSdk.framework', 'NimboSdk');
  try {
    if (!fs.existsSync(file)) return { loadError: explainLoadFailure(file, sdk) };
    return { addon: require(file) };
  } catch (error) {
    return { loadError: explainLoadFailure(file, sdk, error) };
  }
}

/** Placeholders that throw when they are used; like the real ones they can be called without new. */
function failing(loadError) {
  return {
    LumoLivePushJSWrapper: function LumoLivePushJSWrapper() {
      throw loadError;
    },
    createLivePush: function createLivePush() {
      throw loadError;
    },
  };
}

const { addon, loadError } = load();

module.exports = {
  AddonLoadError,
  addon: addon ?? failing(loadError),
  addonFile: file,
  loadError,
  sdkDirectory,
};

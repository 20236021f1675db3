'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { AddonLoadError } = require('./addon_load_error');
const { explainLoadFailure } = require('./explain_load_failure');
const { unpackedPath } = require('./unpacked_path');

/**
 * The folder that holds the add-on and, beside it, NimboSdk.framework. LUMO_BUILD_DIR names another
 * one, for example a build with sanitizers.
 */
const sdkDirectory = unpackedPath(
  path.resolve(process.env.LUMO_BUILD_DIR || path.join(__dirname, '..', 'build', 'release')),
);

/** @returns {{addon?: object, loadError?: AddonLoadError}} never throws */
function load() {
  const file = path.join(sdkDirectory, 'lumolivepush_electron_sdk.node');
  const sdk = path.join(sdkDirectory, 'NimboSdk.framework', 'NimboSdk');
  try {
    if (!fs.existsSync(file)) return { loadError: explainLoadFailure(file, sdk) };
    return { addon: require(file) };
  } catch (error) {
    return { loadError: explainLoadFailure(file, sdk, error) };
  }
}

/** Stand-ins that throw when they are used; like the real ones they can be called without new. */
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

module.exports = { AddonLoadError, addon: addon ?? failing(loadError), loadError, sdkDirectory };

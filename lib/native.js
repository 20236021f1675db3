'use strict';

const fs = require('node:fs');
const { createRequire } = require('node:module');
const { AddonLoadError } = require('./addon_load_error');
const { findBinaries, sdkFileIn } = require('./binaries');
const { explainLoadFailure } = require('./explain_load_failure');
const { packageRoot } = require('./package_root');
const { notInstalled, placeholders } = require('./placeholders');

const root = packageRoot();
const { directory: sdkDirectory, addon: file } = root ? findBinaries(root) : {};

/** @returns {{addon?: object, loadError?: AddonLoadError}} never throws */
function load() {
  if (!root) return { loadError: notInstalled(AddonLoadError) };
  const sdk = sdkFileIn(sdkDirectory);
  try {
    if (!fs.existsSync(file)) return { loadError: explainLoadFailure(file, sdk) };
    // Bundlers would take a require here for a file of the application.
    return { addon: createRequire(file)(file) };
  } catch (error) {
    return { loadError: explainLoadFailure(file, sdk, error) };
  }
}

const { addon, loadError } = load();

module.exports = {
  AddonLoadError,
  addon: addon ?? placeholders(loadError),
  addonFile: file,
  loadError,
  sdkDirectory,
};

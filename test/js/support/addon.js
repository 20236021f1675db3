'use strict';

/*
 * The add-on on top of the scripted SDK, with everything that a test of it needs.
 */

const buildDirectory = require('./build_directory');
const events = require('./events');
const sdk = require('./scripted_sdk');

const { scriptedDirectory, scriptedWithoutLoggerDirectory } = buildDirectory;

/** The native module's exports. */
const addon = buildDirectory.loadNative('lumolivepush_electron_sdk.node');

const { createLivePush } = addon;

module.exports = {
  addon,
  createLivePush,
  sdk,
  scriptedDirectory,
  scriptedWithoutLoggerDirectory,
  ...events,
};

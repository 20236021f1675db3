'use strict';

const fs = require('node:fs');
const path = require('node:path');

const root = path.resolve(__dirname, '../../..');

/** The build folder under test: `LUMO_BUILD_DIR`, by default that of the release preset. */
const buildDirectory = path.resolve(root, process.env.LUMO_BUILD_DIR || 'build/release');

/** Whether its code has a sanitizer, which brings libraries and checks of its own, and is slow. */
const isSanitized = !/^LUMO_SANITIZER:STRING=$/m.test(
  fs.readFileSync(path.join(buildDirectory, 'CMakeCache.txt'), 'utf8'),
);

/** Holds the scripted SDK's framework folder, its control add-on and a copy of the add-on. */
const scriptedDirectory = path.join(buildDirectory, 'scripted');

/** Holds the framework folder of a scripted SDK that lacks the logging entry point. */
const scriptedWithoutLoggerDirectory = path.join(buildDirectory, 'scripted_without_logger');

/**
 * Loads a native module from the scripted directory.
 * @param {string} name file name
 * @returns {any} its exports
 * @throws {Error} that says what to build, when the file is missing
 */
function loadNative(name) {
  const file = path.join(scriptedDirectory, name);
  if (!fs.existsSync(file)) {
    throw new Error(`${file} is missing: build the project, or set LUMO_BUILD_DIR`);
  }
  return require(file);
}

module.exports = {
  ...{ buildDirectory, isSanitized, loadNative },
  ...{ scriptedDirectory, scriptedWithoutLoggerDirectory },
};

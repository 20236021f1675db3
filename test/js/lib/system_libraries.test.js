'use strict';

// Which libraries of the system the add-on and the default SDK need, and which packages hold them.

const assert = require('node:assert/strict');
const path = require('node:path');
const { describe, it } = require('node:test');
const { buildDirectory, isSanitized } = require('../support/build_directory');
const { neededLibraries } = require('../../../lib/elf_needed');
const { installCommand, missingLibraries } = require('../../../lib/system_libraries');

const FILES = ['lumolivepush_electron_sdk.node', 'NimboSdk.framework/NimboSdk'].map((name) =>
  path.join(buildDirectory, name),
);
const skip =
  (process.platform !== 'linux' && 'ELF files are needed') ||
  (isSanitized && 'sanitizers bring libraries of their own');

describe('the libraries of the system', { skip }, () => {
  it('are read from the files in their order', () => {
    assert.equal(neededLibraries(FILES[0])[0], 'NimboSdk');
    assert.ok(neededLibraries(FILES[1]).includes('libgstreamer-1.0.so.0'));
  });

  it('are none in a file of another format', () => {
    assert.deepEqual(neededLibraries(__filename), []);
  });

  it('are all there where the build runs', () => {
    assert.deepEqual(missingLibraries(FILES), []);
  });

  it('each have a package, on a system that has none of them', () => {
    const missing = missingLibraries(FILES, new Set());
    assert.ok(missing.length > 15);
    assert.deepEqual(
      missing.filter((each) => !each.package).map(({ library }) => library),
      [],
    );
    assert.ok(!missing.some(({ library }) => library === 'NimboSdk'));
  });

  it('are installed by one command', () => {
    const command = installCommand(['libxcb1', 'libglib2.0-0', 'libxcb1']);
    assert.equal(command, 'sudo apt-get install --no-install-recommends libglib2.0-0 libxcb1');
  });
});

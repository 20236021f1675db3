'use strict';

// Which build of the add-on is loaded: a package holds one for each runtime.

const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { afterEach, beforeEach, describe, it } = require('node:test');
const { findBinaries, runtimeAbi } = require('../../../lib/binaries');

const ADDON = 'lumolivepush_electron_sdk.node';
const HERE = `${process.platform}-${process.arch}`;
const ABI = runtimeAbi();

describe('the add-on that is loaded', () => {
  let root;
  let variable;
  beforeEach(() => {
    root = fs.mkdtempSync(path.join(os.tmpdir(), 'lumo-binaries-'));
    variable = process.env.LUMO_BUILD_DIR;
    delete process.env.LUMO_BUILD_DIR;
  });
  afterEach(() => {
    fs.rmSync(root, { recursive: true });
    if (variable !== undefined) process.env.LUMO_BUILD_DIR = variable;
  });

  function put(...file) {
    const whole = path.join(root, ...file);
    fs.mkdirSync(path.dirname(whole), { recursive: true });
    fs.writeFileSync(whole, '');
    return whole;
  }

  it('is named after the runtime and its ABI', () => {
    assert.equal(runtimeAbi({ modules: '115' }), 'node.abi115');
    assert.equal(runtimeAbi({ modules: '140', electron: '39.2.0' }), 'electron.abi140');
  });

  it('is what the developers built, where nothing else is there', () => {
    const release = path.join(root, 'build', 'release');
    assert.deepEqual(findBinaries(root), { directory: release, addon: path.join(release, ADDON) });
    put('prebuilds', HERE, 'node.abi1.node'); // of another runtime
    assert.equal(findBinaries(root).directory, release);
  });

  it("is the package's own for this runtime before that", () => {
    put('build', 'release', ADDON);
    const addon = put('prebuilds', HERE, `${ABI}.node`);
    assert.deepEqual(findBinaries(root), { directory: path.join(root, 'prebuilds', HERE), addon });
  });

  it('is that of LUMO_BUILD_DIR, there or not', () => {
    put('build', 'release', ADDON);
    process.env.LUMO_BUILD_DIR = path.join(root, 'elsewhere');
    assert.equal(findBinaries(root).addon, path.join(root, 'elsewhere', ADDON));
  });
});

'use strict';

// The fields of package.json that must agree with each other, and with the documents.

const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const { describe, it } = require('node:test');
const metadata = require('../../../package.json');

const root = path.resolve(__dirname, '../../..');
const read = (file) => fs.readFileSync(path.join(root, file), 'utf8');
const address = metadata.repository.url.replace(/^git\+|\.git$/g, '');

describe('the package', () => {
  it('has one address, from which all others derive', () => {
    assert.match(address, /^https:\/\/[\w./-]+$/);
    assert.equal(metadata.homepage, `${address}#readme`);
    assert.deepEqual(metadata.bugs, { url: `${address}/issues` });
    assert.ok(read('SECURITY.md').includes(`<${address}/security/`));
  });

  it('has an entry in the changelog for its version, before all others', () => {
    const [, version] = /^## (?!Unreleased)(\S+)/m.exec(read('CHANGELOG.md'));
    assert.equal(version, metadata.version);
    assert.match(read('CHANGELOG.md'), new RegExp(`^## ${version} - \\d{4}-\\d\\d-\\d\\d$`, 'm'));
  });

  // Deliberate: where there is no binary it loads all the same, and loadError names the remedy.
  it('can be installed on any system', () => {
    for (const field of ['os', 'cpu', 'libc']) assert.ok(!(field in metadata), field);
  });
});

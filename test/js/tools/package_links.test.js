'use strict';

// Which links of a package's documents lint finds broken.

const assert = require('node:assert/strict');
const { describe, it } = require('node:test');
const { brokenLinks } = require('../../../tools/lib/package_links');

/** @returns {string[]} the broken links of a package with these files */
function broken(files) {
  return brokenLinks(Object.keys(files), (file) => files[file]);
}

describe('the links of a package', () => {
  it('may lead to its files, its folders, its headings and the web', () => {
    const files = {
      'README.md':
        '![image](docs/a.png) [page](docs/a.md#what-x-does) [folder](lib/) [web](https://host/x)',
      'docs/a.md':
        '[up](../README.md "title") [here](#the-end-1)\n# What `X` does?\n## The end\n## The end',
      'docs/a.png': '',
      'lib/index.js': '',
    };
    assert.deepEqual(broken(files), []);
  });

  it('may not lead to a file that is not packed', () => {
    assert.deepEqual(broken({ 'docs/a.md': '[b](../b.md#c), ![c][]\n\n[c]: images/c.png' }), [
      'docs/a.md: "../b.md#c": the package has no b.md',
      'docs/a.md: "images/c.png": the package has no docs/images/c.png',
    ]);
  });

  it('may not lead to a heading that there is not', () => {
    const files = { 'a.md': '[b](b.md#one) [own](#two)', 'b.md': '# One more' };
    assert.deepEqual(broken(files), [
      'a.md: "b.md#one": no such heading',
      'a.md: "#two": no such heading',
    ]);
  });

  it('are not looked for in code', () => {
    assert.deepEqual(broken({ 'a.md': '`[a](b)`\n\n```md\n[c](d)\n# e\n```\n\n[x](#e)' }), [
      'a.md: "#e": no such heading',
    ]);
  });
});

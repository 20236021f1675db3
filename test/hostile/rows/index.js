'use strict';

const fs = require('node:fs');

/** @returns {Record<string, import('../support/case').Row[]>} the rows of each file in this folder */
function readRows() {
  const names = fs.readdirSync(__dirname).filter((name) => name !== 'index.js');
  return Object.fromEntries(
    names.sort().map((name) => [name.replace('.js', ''), require(`./${name}`)]),
  );
}

module.exports = { readRows };

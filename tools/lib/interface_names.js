'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { root, sourceFiles } = require('./project');

const CLASS = /^class (?:LUMO_RTC_EXPORT )?(\w+)/;
const FUNCTION = /^ {2}(?:LUMO_RTC_EXPORT )?(?:virtual|static) .*?[ *](\w+)\(/;

/**
 * The functions of the SDK's interface classes, as its headers declare them: "Class::function".
 * The application implements the callbacks.
 *
 * @returns {{operations: string[], callbacks: string[]}}
 */
function interfaceNames() {
  const names = { operations: [], callbacks: [] };
  const headers = sourceFiles('.h').filter((file) => file.startsWith('sdk/include/'));
  for (const header of headers) {
    let owner = '';
    for (const line of fs.readFileSync(path.join(root, header), 'utf8').split('\n')) {
      owner = line.match(CLASS)?.[1] ?? owner;
      const name = line.match(FUNCTION)?.[1];
      if (!name) continue;
      names[owner.endsWith('Listener') ? 'callbacks' : 'operations'].push(`${owner}::${name}`);
    }
  }
  return names;
}

module.exports = { interfaceNames };

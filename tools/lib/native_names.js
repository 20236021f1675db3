'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { root } = require('./project');

function firstGroups(file, pattern) {
  const text = fs.readFileSync(path.join(root, file), 'utf8');
  return [...text.matchAll(pattern)].map((match) => match[1]);
}

/** @returns {string[]} the methods of the native class, in the order of registration */
function methodNames() {
  return firstGroups('src/wrapper/method_table.h', /METHOD\((\w+), \w+\)/g);
}

/** @returns {string[]} the events of the add-on */
function eventNames() {
  return firstGroups('src/utils/lumolivepush_js_define.h', /Event_\w+\[\] = "(\w+)"/g);
}

module.exports = { eventNames, methodNames };

'use strict';

const { readDeclarations } = require('../../../tools/lib/declarations');

const { declarations: classes } = readDeclarations('lib/types/wrapper.d.ts');
const { declarations: records } = readDeclarations('lib/types/records.d.ts');

/** The keys of the record that a method's parameter is declared as; undefined without one. */
function keysOf({ signature }) {
  const parameters = signature.slice(signature.indexOf('('), signature.lastIndexOf('):'));
  const types = parameters.match(/\b[A-Z]\w+/g) ?? [];
  const record = records.find(({ kind, name }) => kind === 'interface' && types.includes(name));
  return record?.members.map(({ name }) => name);
}

/** The keys that each method reads from its options, as declared. @type {Record<string, string[]>} */
const OPTION_KEYS = Object.fromEntries(
  classes
    .find(({ name }) => name === 'LumoLivePushJSWrapper')
    .members.map((member) => [member.name, keysOf(member)])
    .filter(([, keys]) => keys !== undefined),
);

module.exports = { OPTION_KEYS };

'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { root } = require('./project');

/**
 * @typedef {{type: string, name: string}} Variable a parameter or a field
 * @typedef {{name: string, result: string, isStatic: boolean, parameters: Variable[]}} SdkFunction
 * @typedef {{name: string, fields: Variable[]}} SdkRecord
 * @typedef {{name: string, functions: SdkFunction[]}} SdkClass
 */

const folder = 'sdk/include/NimboSdk';
const headers = fs
  .readdirSync(path.join(root, folder))
  .filter((name) => name.endsWith('.h'))
  .map((name) => path.join(folder, name));

const COMMENT = /\/\/.*$/gm;
const RECORD = /^struct (\w+) \{([\s\S]*?)^\};/gm;
const CLASS = /^class (?:LUMO_RTC_EXPORT )?(\w+) \{([\s\S]*?)^\};/gm;
const FIELD = /^([^=({]*[ *])(\w+)(?: =.*|\{.*\})?$/;
const FUNCTION =
  /^(?:LUMO_RTC_EXPORT )?(virtual|static) (.*?[ *&])(\w+)\((.*)\)(?: const)?(?: = 0)?$/;

const oneLine = (text) => text.replace(/\s+/g, ' ').trim();

/** The statements of a class's body, without access specifiers. */
function statements(body) {
  return body
    .replace(/^ *(public|protected|private):/gm, '')
    .split(';')
    .map(oneLine)
    .filter(Boolean);
}

/** @returns {Variable} @throws {Error} */
function variable(text) {
  const match = FIELD.exec(oneLine(text));
  if (!match) throw new Error(`${folder}: "${text}" is not a type and a name`);
  return { type: match[1].trim(), name: match[2] };
}

/** @returns {SdkFunction | undefined} undefined for destructors, constructors and fields */
function functionOf(statement) {
  const [, kind, result, name, parameters] = FUNCTION.exec(statement) ?? [];
  if (!name) return undefined;
  return {
    name,
    result: result.trim(),
    isStatic: kind === 'static',
    parameters: parameters ? parameters.split(',').map(variable) : [],
  };
}

/**
 * The records and the interface classes of the SDK, read from its headers.
 * @returns {{headers: string[], records: SdkRecord[], classes: SdkClass[]}} in the headers' order;
 *   a class without a static or virtual function is not an interface and is left out
 * @throws {Error} that names a declaration that cannot be read
 */
function sdkInterface() {
  const texts = headers.map((file) =>
    fs.readFileSync(path.join(root, file), 'utf8').replace(COMMENT, ''),
  );
  const blocks = (pattern) => texts.flatMap((text) => [...text.matchAll(pattern)]);
  return {
    headers,
    records: blocks(RECORD).map(([, name, body]) => ({
      name,
      fields: statements(body).map(variable),
    })),
    classes: blocks(CLASS)
      .map(([, name, body]) => ({
        name,
        functions: statements(body).map(functionOf).filter(Boolean),
      }))
      .filter(({ functions }) => functions.length > 0),
  };
}

/** Whether the application implements a class of the SDK, and the SDK calls it. */
const isListener = ({ name }) => name.endsWith('Listener');

module.exports = { isListener, sdkInterface };

'use strict';

// Writes docs/api.md and docs/events.md from the type declarations in lib/, so that they cannot
// differ.
//
// Usage: node tools/generate-docs.js [--check] [--docs FOLDER]
//   --check        write nothing; exit with 1 if a file is not up to date --docs FOLDER  default:
//   docs

const fs = require('node:fs');
const path = require('node:path');
const { parseArgs } = require('node:util');
const { readDeclarations } = require('./lib/declarations');
const { root } = require('./lib/project');

const NOTICE = '<!-- Generated from the type declarations in lib/ by tools/generate-docs.js. -->';

const cell = (text) => text.replace(/\s+/g, ' ').replace(/\|/g, '\\|').trim();
const code = (text) => `\`${text}\``;
const capitalised = (text) => text[0].toUpperCase() + text.slice(1);

function table(head, rows) {
  return [head, head.map(() => '---'), ...rows].map((row) => `| ${row.join(' | ')} |`).join('\n');
}

/** A documentation comment: text, parameters, result, errors. @returns {string[]} paragraphs */
function paragraphs({ text, params, returns, throws }) {
  return [
    text,
    params.map(({ name, text: meaning }) => `- ${code(name)}: ${meaning}`).join('\n'),
    returns && `Returns ${returns}.`,
    throws.map(({ type, text: when }) => `Throws ${code(type)}${when && ` ${when}`}.`).join('\n'),
  ].filter(Boolean);
}

function fence(signature) {
  return `\`\`\`ts\n${signature}\n\`\`\``;
}

function classSection({ name, doc, members }) {
  const parts = [`## ${name}`, ...paragraphs(doc)];
  let section = '';
  for (const member of members) {
    if (member.section !== section) parts.push(`### ${capitalised(member.section)}`);
    section = member.section;
    const level = section ? '####' : '###';
    parts.push(`${level} ${code(member.name)}`, fence(member.signature), ...paragraphs(member.doc));
  }
  return parts;
}

function interfaceSection({ name, signature, doc, members }) {
  const rows = members.map((member) => [
    code(member.optional ? `${member.name}?` : member.name),
    code(cell(member.type)),
    cell(member.doc.text),
  ]);
  const base = / extends ([^{]+?) \{/.exec(signature)?.[1];
  return [
    `### ${name}`,
    ...paragraphs(doc),
    base && `As ${code(base)}, and:`,
    table(['key', 'type', 'meaning'], rows),
  ].filter(Boolean);
}

const SECTIONS = {
  class: classSection,
  interface: interfaceSection,
  type: ({ name, signature, doc }) => [`### ${name}`, ...paragraphs(doc), fence(signature)],
  function: ({ name, signature, doc }) => [
    `### ${code(name)}`,
    fence(signature),
    ...paragraphs(doc),
  ],
  const: ({ name, signature, doc }) => [`### ${code(name)}`, fence(signature), ...paragraphs(doc)],
};

/** Declarations with the members of `methods` in LivePush, in front of its end. */
function withMethods(declarations, methods) {
  return declarations.map((one) => {
    if (one.name !== 'LivePush') return one;
    const end = one.members.findIndex(({ section }) => section === 'end');
    const members = [...one.members.slice(0, end), ...methods.members, ...one.members.slice(end)];
    return { ...one, members };
  });
}

const render = (declarations) => declarations.flatMap((one) => SECTIONS[one.kind](one));
const isClass = ({ kind }) => kind === 'class';
const isNoClass = ({ kind }) => kind !== 'class';
const isNamed = (name) => (one) => one.name === name;

function apiPage() {
  const { declarations: module } = readDeclarations('lib/index.d.ts');
  const { declarations: wrapper } = readDeclarations('lib/types/wrapper.d.ts');
  const methods = wrapper.find(isNamed('LivePushMethods'));
  const merged = readDeclarations('lib/types/live_push.d.ts').declarations;
  const livePush = withMethods(
    merged.filter(({ kind, name }) => kind !== 'interface' || name !== 'LivePush'),
    methods,
  );
  const { intro, declarations: records } = readDeclarations('lib/types/records.d.ts');
  return [
    ...['# API', NOTICE, 'Events and what they carry: [events.md](events.md).'],
    ...['## The module', ...render(module.filter(isNoClass))],
    ...render(wrapper.filter(isClass)),
    ...render([...livePush, ...module].filter(isClass)),
    ...['## Types of LivePush', ...render(livePush.filter(isNoClass))],
    ...['## Options and records', intro, ...render(records)],
  ];
}

function eventsPage() {
  const { intro, declarations } = readDeclarations('lib/types/events.d.ts');
  const events = declarations.find(isNamed('EventMap'));
  const payloads = declarations.filter(
    ({ name }) => !['EventMap', 'EventName', 'PlayerEventMap'].includes(name),
  );
  const rows = events.members.map(({ name, type, doc }) => [
    code(name),
    type === '[]' ? 'none' : code(type.slice(1, -1)),
    cell(doc.text),
  ]);
  return [
    ...['# Events', NOTICE, intro, table(['event', "listener's argument", 'when'], rows)],
    ...['## What events carry', ...render(payloads)],
  ];
}

const PAGES = { 'api.md': apiPage, 'events.md': eventsPage };

function main() {
  const { values } = parseArgs({
    options: { check: { type: 'boolean' }, docs: { type: 'string', default: 'docs' } },
  });
  const folder = path.resolve(root, values.docs);
  for (const [name, page] of Object.entries(PAGES)) {
    const file = path.join(folder, name);
    const text = `${page().join('\n\n')}\n`;
    if (!values.check) fs.writeFileSync(file, text);
    else if (!fs.existsSync(file) || fs.readFileSync(file, 'utf8') !== text) {
      console.error(`${file} is not up to date: run "node tools/generate-docs.js"`);
      process.exitCode = 1;
    }
  }
}

main();

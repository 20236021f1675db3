#!/usr/bin/env node
'use strict';

// Usage: npx lumolivepush-electron-sdk doctor
//   doctor  prints what this system has of what the package needs; exit code 1 when something is
//           missing, with the command that installs it

const COMMANDS = {
  doctor: () => require('../lib/doctor').runDoctor(),
};

const [name, ...rest] = process.argv.slice(2);
const command =
  Object.hasOwn(COMMANDS, name ?? '') && rest.length === 0 ? COMMANDS[name] : undefined;
if (!command) {
  console.error(`usage: lumolivepush-electron-sdk ${Object.keys(COMMANDS).join(' | ')}`);
  process.exit(2);
}
process.exit(command());

#!/usr/bin/env node
'use strict';

// Usage: npx lumolivepush-electron-sdk doctor | rebuild
//   doctor   prints what this system has of what the package needs; exit code 1 when something is
//            missing, with the command that installs it
//   rebuild  builds the add-on for a runtime that the package brings none for

const COMMANDS = {
  doctor: (args) => (args.length === 0 ? require('../lib/doctor').runDoctor() : undefined),
  rebuild: (args) => require('../lib/rebuild').runRebuild(args),
};

const [name, ...args] = process.argv.slice(2);
const command = Object.hasOwn(COMMANDS, name ?? '') ? COMMANDS[name] : () => undefined;
const exitCode = command(args);
if (exitCode === undefined) {
  console.error(`usage: lumolivepush-electron-sdk ${Object.keys(COMMANDS).join(' | ')}`);
}
process.exit(exitCode ?? 2);

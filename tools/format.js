'use strict';

// Formats the project's files in place: C++ with clang-format, JavaScript and JSON with Biome.
//
// Usage: node tools/format.js

const { sourceFiles } = require('./lib/project');
const { run } = require('./lib/run');

async function main() {
  const cpp = await run('clang-format', ['-i', ...sourceFiles('.h', '.cc')]);
  const javascript = await run('node_modules/.bin/biome', ['check', '--write']);
  process.exitCode = cpp.ok && javascript.ok ? 0 : 1;
}

main();

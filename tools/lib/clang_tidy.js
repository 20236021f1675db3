'use strict';

const crypto = require('node:crypto');
const fs = require('node:fs');
const path = require('node:path');
const { root, sourceFiles } = require('./project');
const { run } = require('./run');

const TOOL = 'clang-tidy-22';

/**
 * Reads the compile command of each of the project's files.
 *
 * @param {string} buildFolder absolute
 * @returns {Map<string, string>} file relative to the project's root -> its compile command
 */
function compileCommands(buildFolder) {
  const database = fs.readFileSync(path.join(buildFolder, 'compile_commands.json'), 'utf8');
  return new Map(
    JSON.parse(database).map(({ file, command }) => [path.relative(root, file), command]),
  );
}

/**
 * Checks files with clang-tidy, two at a time, at low priority. A file that was found clean before
 * is not checked again until it, its compile command, any of the project's headers, `.clang-tidy` or
 * the tool itself changes.
 *
 * @param {string[]} files relative to the project's root
 * @param {string} buildFolder absolute; also keeps the record of clean files
 * @returns {Promise<string[]>} the files with findings, which were printed
 */
async function clangTidy(files, buildFolder) {
  const commands = compileCommands(buildFolder);
  const cleanFolder = path.join(buildFolder, 'clang-tidy-clean');
  fs.mkdirSync(cleanFolder, { recursive: true });

  const version = (await run(TOOL, ['--version'], { capture: true })).output;
  const shared = digest([version, ...['.clang-tidy', ...sourceFiles('.h')].map(content)]);
  const waiting = files
    .map((file) => {
      const key = digest([shared, file, content(file), commands.get(file)]);
      return { file, record: path.join(cleanFolder, key) };
    })
    .filter(({ record }) => !fs.existsSync(record));
  console.log(`clang-tidy: ${files.length} files, ${waiting.length} to check`);

  const bad = [];
  const total = waiting.length;
  let done = 0;
  const worker = async () => {
    for (let next = waiting.shift(); next; next = waiting.shift()) {
      const args = ['--quiet', '-p', buildFolder, next.file];
      const { ok, output } = await run(TOOL, args, { capture: true, background: true });
      done += 1;
      if (done % 50 === 0) console.log(`clang-tidy: ${done} of ${total}`);
      if (ok) {
        fs.writeFileSync(next.record, '');
      } else {
        bad.push(next.file);
        console.log(`clang-tidy: ${next.file}\n${output}`);
      }
    }
  };
  await Promise.all([worker(), worker()]);
  return bad;
}

function content(file) {
  return fs.readFileSync(path.join(root, file));
}

function digest(parts) {
  const hash = crypto.createHash('sha256');
  for (const part of parts) hash.update(part).update('\0');
  return hash.digest('hex');
}

module.exports = { clangTidy, compileCommands };

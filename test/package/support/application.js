/*
 * An application that has the packed package installed. tools/test-package.js names the package and
 * the runtimes.
 */

const { execFileSync, spawnSync } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');

const PACKAGE = 'lumolivepush-electron-sdk';
const tarball = process.env.LUMO_TARBALL;
const tools = path.join(__dirname, '../node_modules');

/** @typedef {{version: string, abi: string, node: string, headers: string}} Runtime */

/** @type {Runtime[]} every supported Node, the oldest first */
const runtimes = process.env.LUMO_RUNTIMES.split(path.delimiter).map((prefix) => {
  const node = path.join(prefix, 'bin', 'node');
  const { node: version, modules: abi } = JSON.parse(
    run(node, ['-p', 'JSON.stringify(process.versions)']).stdout,
  );
  return { version, abi, node, headers: path.join(prefix, 'include', 'node') };
});

const runtimeOf = (major) => runtimes.find(({ version }) => version.startsWith(`${major}.`));

/** Runs a program without npm's own settings of this machine. */
function run(program, args, { env, ...options } = {}) {
  const own = Object.entries(process.env).filter(([name]) => !/^(npm_|LUMO_)/.test(name));
  return spawnSync(program, args, {
    encoding: 'utf8',
    timeout: 300_000,
    maxBuffer: 2 ** 26,
    env: { ...Object.fromEntries(own), ...env },
    ...options,
  });
}

/** Runs a program that must succeed. @returns {string} its standard output */
function mustRun(program, args, options) {
  const { status, signal, stdout, stderr } = run(program, args, options);
  if (status === 0) return stdout;
  throw new Error(`${program} ${args.join(' ')}: ${signal ?? status}\n${stdout}${stderr}`);
}

const temporary = [];

/**
 * Makes an application in an empty folder and installs the package there, without a network.
 *
 * @param {Record<string, string>} [files] by name
 * @returns {{folder: string, installed: string}} the application's folder, and the package's in it
 */
function makeApplication(files = {}) {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'lumo-package-'));
  temporary.push(folder);
  const manifest = { name: 'application', version: '1.0.0', private: true };
  fs.writeFileSync(path.join(folder, 'package.json'), JSON.stringify(manifest));
  for (const [name, text] of Object.entries(files)) fs.writeFileSync(path.join(folder, name), text);
  const flags = ['--offline', '--no-audit', '--no-fund'];
  execFileSync('npm', ['install', ...flags, tarball], { cwd: folder, stdio: 'ignore' });
  return { folder, installed: path.join(folder, 'node_modules', PACKAGE) };
}

function removeApplications() {
  for (const folder of temporary.splice(0)) fs.rmSync(folder, { recursive: true });
}

module.exports = {
  PACKAGE,
  makeApplication,
  mustRun,
  removeApplications,
  run,
  runtimeOf,
  runtimes,
  tarball,
  tools,
};

/*
 * Headers like Electron's: those of a Node with another ABI, and with V8's switches as Electron has
 * them. Electron's own cannot be had without its server.
 */

const fs = require('node:fs');
const http = require('node:http');
const crypto = require('node:crypto');
const path = require('node:path');
const { mustRun } = require('./application');

const VERSION = '39.2.0';
const ABI = '140';
const SWITCHES = [
  'v8_enable_pointer_compression',
  'v8_enable_pointer_compression_shared_cage',
  'v8_enable_sandbox',
  'v8_enable_external_code_space',
];

/** Replaces what must be there. */
function edit(file, pattern, replacement) {
  const text = fs.readFileSync(file, 'utf8');
  if (!pattern.test(text)) throw new Error(`${file}: no ${pattern}`);
  fs.writeFileSync(file, text.replace(pattern, replacement));
}

/**
 * @param {import('./application').Runtime} node whose headers are taken
 * @param {string} folder is made
 * @returns {string} the folder that holds node.h
 */
function makeElectronHeaders(node, folder) {
  const headers = path.join(folder, 'include', 'node');
  fs.cpSync(node.headers, headers, { recursive: true });
  const version = path.join(headers, 'node_version.h');
  edit(version, /(#define NODE_MODULE_VERSION) \d+/, `$1 ${ABI}`);
  for (const name of SWITCHES) {
    edit(path.join(headers, 'config.gypi'), new RegExp(`("?${name}"?: *)(\\d|"\\w+")`), '$11');
  }
  return headers;
}

/**
 * Serves headers as Electron's server does.
 *
 * @param {string} folder the parent of include/node
 * @returns {Promise<{url: string, close: () => void}>}
 */
async function serveHeaders(folder) {
  const archive = path.join(folder, 'headers.tar.gz');
  const inside = ['--transform', 's,^,node_headers/,', 'include'];
  mustRun('tar', ['-czf', archive, '-C', folder, ...inside]);
  const bytes = fs.readFileSync(archive);
  const sum = crypto.createHash('sha256').update(bytes).digest('hex');
  const name = `node-v${VERSION}-headers.tar.gz`;
  const answers = {
    [`/v${VERSION}/${name}`]: bytes,
    [`/v${VERSION}/SHASUMS256.txt`]: `${sum}  ${name}\n`,
  };
  const server = http.createServer(({ url }, response) => {
    if (!(url in answers)) response.statusCode = 404;
    response.end(answers[url]);
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  return {
    url: `http://127.0.0.1:${server.address().port}`,
    close: () => server.close(),
  };
}

module.exports = { ABI, VERSION, makeElectronHeaders, serveHeaders };

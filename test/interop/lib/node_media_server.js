'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { startChild } = require('../../../tools/rtmp/child');
const { onLines } = require('../../../tools/rtmp/output');
const { freePort } = require('../../../tools/rtmp/rtmp_server');
const { isListening, until } = require('./network');

const PROGRAM = path.join(__dirname, 'node_media_server_process.js');

/**
 * node-media-server with its defaults, which include the cache of the newest GOP.
 *
 * @param {string} folder for its files
 * @param {{key: string, cert: string}} identity files
 */
async function startNodeMediaServer(folder, identity) {
  const ports = {};
  for (const name of ['rtmp', 'rtmps', 'http', 'https']) ports[name] = await freePort();
  const config = {
    bind: '127.0.0.1',
    auth: { play: false, publish: false, secret: '', jwt: { secret: 'x', users: [] } },
    store: { path: path.join(folder, 'store') },
    record: { auto: false, path: path.join(folder, 'record') },
    webadmin: { enable: false },
    rtmp: { port: ports.rtmp },
    rtmps: { port: ports.rtmps, ...identity },
    http: { port: ports.http },
    https: { port: ports.https, ...identity },
  };
  const file = path.join(folder, 'node_media_server.json');
  fs.writeFileSync(file, JSON.stringify(config));
  const child = startChild(process.execPath, [PROGRAM, file]);
  const published = new Set();
  onLines(child.process.stdout, (line) => {
    const [, stream] = line.match(/^published (\S+)$/) ?? [];
    if (stream) published.add(stream);
  });
  await until('node-media-server', () => Object.values(ports).every(isListening), [child]);
  return {
    rtmp: (stream) => `rtmp://127.0.0.1:${ports.rtmp}/live/${stream}`,
    rtmps: (stream) => `rtmps://127.0.0.1:${ports.rtmps}/live/${stream}`,
    http: (stream) => `http://127.0.0.1:${ports.http}/live/${stream}.flv`,
    https: (stream) => `https://127.0.0.1:${ports.https}/live/${stream}.flv`,
    /** Resolves when media of that stream have arrived. */
    published: (stream, sender) =>
      until(`publishing to node-media-server`, () => published.has(`/live/${stream}`), [sender]),
    stop: () => child.stop(),
  };
}

module.exports = { startNodeMediaServer };

'use strict';

const fs = require('node:fs');
const http = require('node:http');
const https = require('node:https');
const path = require('node:path');
const { listening } = require('./network');

const TYPES = {
  '.m3u8': 'application/vnd.apple.mpegurl',
  '.ts': 'video/mp2t',
  '.m4s': 'video/iso.segment',
  '.mp4': 'video/mp4',
};

/**
 * Starts a web server on loopback that is stopped with the row.
 *
 * @param {object} context of the row
 * @param {http.RequestListener} answer
 * @param {boolean} [encrypted]
 * @returns {Promise<string>} its address, without a slash at the end
 */
async function startWebServer(context, answer, encrypted = false) {
  const server = encrypted
    ? https.createServer(context.identity, answer)
    : http.createServer(answer);
  context.atEnd(() => {
    server.close();
    server.closeAllConnections();
  });
  return `${encrypted ? 'https' : 'http'}://127.0.0.1:${await listening(server)}`;
}

/** Answers each request with the output of a program of its own, without an end or a length. */
const streaming = (context, type, startSender) => async (_request, response) => {
  const sender = await startSender();
  context.atEnd(() => sender.stop());
  response.writeHead(200, { 'Content-Type': type });
  sender.process.stdout.pipe(response);
  response.on('close', () => sender.stop());
};

/** Serves the files of a folder, with range requests. */
const files = (folder) => (request, response) => {
  const name = path.basename(new URL(request.url, 'http://x').pathname);
  fs.readFile(path.join(folder, name), (error, data) => {
    if (error) return response.writeHead(404).end();
    const headers = { 'Content-Type': TYPES[path.extname(name)] ?? 'application/octet-stream' };
    const [, from, to] = request.headers.range?.match(/^bytes=(\d+)-(\d*)$/) ?? [];
    if (from === undefined)
      return response.writeHead(200, { ...headers, 'Content-Length': data.length }).end(data);
    const end = Math.min(to ? Number(to) : data.length - 1, data.length - 1);
    const range = `bytes ${from}-${end}/${data.length}`;
    const part = data.subarray(Number(from), end + 1);
    response.writeHead(206, { ...headers, 'Content-Range': range, 'Content-Length': part.length });
    response.end(part);
  });
};

module.exports = { files, startWebServer, streaming };

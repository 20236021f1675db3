'use strict';

const { once } = require('node:events');
const fs = require('node:fs');
const http = require('node:http');
const net = require('node:net');
const os = require('node:os');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');
const { startChild } = require('./child');

/**
 * The server's status of one stream.
 *
 * @typedef {object} StreamStatus
 * @property {boolean} publishing it has a publisher now
 * @property {number} bytesIn received since its publisher connected
 * @property {number} clients connections: the publisher and the players
 * @property {number} width of the video, from the stream's metadata; 0 without
 * @property {number} height
 * @property {number} frameRate
 */

/**
 * Starts nginx with its RTMP module on free loopback ports, as a child process with all its files
 * in a temporary folder. Nothing of a system-wide nginx is read or touched.
 *
 * @param {object} [options]
 * @param {number} [options.rtmpPort] default: a free one. To restart a server at the same address
 * @param {Record<string, string>} [options.applications] name -> nginx-rtmp directives; in them,
 *   "FILES" is the folder whose files the server offers over HTTP
 * @param {(request: URLSearchParams) => boolean} [options.authorise] asked whether a stream may be
 *   published; the request has its `name`, its application (`app`) and its URL's own parameters
 */
async function startRtmpServer({ rtmpPort, applications = { live: 'live on;' }, authorise } = {}) {
  const ports = { rtmp: rtmpPort ?? (await freePort()), http: await freePort() };
  const authority = authorise && (await startAuthority(authorise));
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'rtmp-server-'));
  const configFile = path.join(folder, 'nginx.conf');
  fs.mkdirSync(path.join(folder, 'files'));
  fs.writeFileSync(configFile, configuration(folder, ports, applications, authority));
  const startedAt = performance.now();
  const child = startChild('nginx', ['-p', folder, '-c', configFile]);
  let isUp = true;
  const ended = child.ended.then((reason) => {
    isUp = false;
    authority?.close();
    fs.rmSync(folder, { recursive: true, force: true });
    return reason;
  });

  const server = {
    rtmpPort: ports.rtmp,
    pid: child.process.pid,
    startedAt, // by `performance.now()`

    /** @param {string} [stream] @param {string} [application] @returns {string} its RTMP address */
    url: (stream = 'stream', application = 'live') =>
      `rtmp://127.0.0.1:${ports.rtmp}/${application}/${stream}`,

    /** @param {string} file one of those it offers @returns {string} its HTTP address */
    fileUrl: (file) => `http://127.0.0.1:${ports.http}/files/${file}`,
    filesFolder: path.join(folder, 'files'),

    /** @param {string} [stream] its name @returns {Promise<StreamStatus>} */
    status: async (stream = 'stream') =>
      streamStatus(await get(`http://127.0.0.1:${ports.http}/stat`), stream),

    /** Kills the server, like a crash, and waits for its end. */
    kill: () => {
      child.process.kill('SIGKILL');
      return ended;
    },
    /** Suspends it, with its connections open. */
    freeze: () => child.process.kill('SIGSTOP'),
    thaw: () => child.process.kill('SIGCONT'),
    /** Ends the server and waits until it and its files are removed. May be called twice. */
    stop: async () => {
      if (isUp) await child.stop();
      await ended;
    },
  };

  for (let attempt = 0; attempt < 250 && isUp; attempt += 1) {
    const answer = await server.status().catch(() => undefined);
    if (answer) return server;
    await sleep(20);
  }
  await server.stop();
  throw new Error(`The RTMP server did not start. ${await ended}`);
}

// One process in the foreground: ending it ends the whole server.
function configuration(folder, ports, applications, authority) {
  const module = ['/usr/lib/nginx/modules', '/usr/share/nginx/modules']
    .map((modules) => path.join(modules, 'ngx_rtmp_module.so'))
    .find((file) => fs.existsSync(file));
  const temporary = ['client_body', 'proxy', 'fastcgi', 'uwsgi', 'scgi'];
  const blocks = Object.entries(applications).map(
    ([name, directives]) =>
      `    application ${name} { ${directives.replaceAll('FILES', `${folder}/files`)} }`,
  );
  return `
${module ? `load_module ${module};` : ''}
daemon off;
master_process off;
pid ${folder}/nginx.pid;
error_log stderr warn;
events { worker_connections 256; }
rtmp {
  access_log off;
  server {
    listen 127.0.0.1:${ports.rtmp};
    chunk_size 4096;
    ${authority ? `on_publish http://127.0.0.1:${authority.address().port}/;` : ''}
${blocks.join('\n')}
  }
}
http {
  access_log off;
${temporary.map((name) => `  ${name}_temp_path ${folder}/${name};`).join('\n')}
  server {
    listen 127.0.0.1:${ports.http};
    location /stat { rtmp_stat all; }
    location /files/ { alias ${folder}/files/; }
  }
}
`;
}

/**
 * @returns {Promise<http.Server>} answers the server's requests for permission to publish
 */
async function startAuthority(authorise) {
  const authority = http.createServer(async (request, response) => {
    let text = '';
    for await (const part of request.setEncoding('utf8')) text += part;
    response.writeHead(authorise(new URLSearchParams(text)) ? 200 : 403).end();
  });
  authority.listen(0, '127.0.0.1');
  await once(authority, 'listening');
  return authority;
}

/** @returns {StreamStatus} read from the server's statistics page */
function streamStatus(xml, name) {
  const streams = xml.match(/<stream>[\s\S]*?<\/stream>/g) ?? [];
  const text = streams.find((stream) => stream.includes(`<name>${name}</name>`)) ?? '';
  const number = (tag) => Number(text.match(new RegExp(`<${tag}>(\\d+)</${tag}>`))?.[1] ?? 0);
  return {
    publishing: text.includes('<publishing/>'),
    bytesIn: number('bytes_in'),
    clients: number('nclients'),
    width: number('width'),
    height: number('height'),
    frameRate: number('frame_rate'),
  };
}

function get(url) {
  return new Promise((resolve, reject) => {
    const request = http.get(url, { agent: false, timeout: 2000 }, (response) => {
      let text = '';
      response.setEncoding('utf8').on('data', (part) => {
        text += part;
      });
      response.on('end', () => resolve(text));
    });
    request.on('timeout', () => request.destroy(new Error(`${url}: no answer`)));
    request.on('error', reject);
  });
}

/**
 * @returns {Promise<number>} a loopback TCP port without a listener at the moment
 */
function freePort() {
  return new Promise((resolve, reject) => {
    const probe = net.createServer();
    probe.once('error', reject);
    probe.listen(0, '127.0.0.1', () => {
      const { port } = probe.address();
      probe.close(() => resolve(port));
    });
  });
}

module.exports = { freePort, startRtmpServer };

'use strict';

// Plays addresses named by servers at public addresses, in a network namespace in which this
// machine has such an address. See hls_origin.test.js.
//
// Usage: origin_process.js PUBLIC_ADDRESS SETTINGS HOST...
//
// Prints as JSON, for each way to name a local server by each of the hosts, whether it was reached,
// and the error.

const http = require('node:http');
const { once } = require('node:events');
const { openLivePush } = require('../../e2e/support/live_push');
const { openPlayer } = require('../../e2e/support/player');
const { masterOf, playlistOf } = require('./http');

const [publicAddress, settings, ...hosts] = process.argv.slice(2);

/** Named by a public server, in each of these ways. */
const WAYS = {
  redirect: (target) => (_request, response) => response.writeHead(302, { Location: target }).end(),
  segment: (target) => (_request, response) => response.end(playlistOf(target)),
  playlist: (target) => (_request, response) => response.end(masterOf(target)),
  key: (target) => (request, response) => {
    const key = `#EXT-X-KEY:METHOD=AES-128,URI="${target}"`;
    response.end(request.url === '/a' ? Buffer.alloc(1000) : playlistOf('/a', [key]));
  },
  'redirected segment': (target) => (request, response) => {
    if (request.url !== '/a') return response.end(playlistOf('/a'));
    return response.writeHead(302, { Location: target }).end();
  },
};

async function listen(handler, host) {
  const server = http.createServer(handler).listen(0, host);
  await once(server, 'listening');
  return server;
}

async function main() {
  const live = openLivePush({ extra: JSON.parse(settings) });
  const results = {};
  for (const host of hosts) {
    for (const [way, handlerOf] of Object.entries(WAYS)) {
      let reached = false;
      const local = await listen((_request, response) => {
        reached = true;
        response.end();
      }, '::');
      const target = `http://${host}:${local.address().port}/internal`;
      const stranger = await listen(handlerOf(target), publicAddress);
      const player = openPlayer(live);
      const url = `http://${publicAddress}:${stranger.address().port}/stream`;
      const { code, msg } = await player.failureOf(url);
      player.close();
      for (const server of [local, stranger]) server.close();
      results[`${way} to ${host}`] = { reached, code, msg };
    }
  }
  process.stdout.write(JSON.stringify(results), () => process.exit(0));
}

main();

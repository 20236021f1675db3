'use strict';

// Servers with untrusted certificates, in every place where a certificate is checked.

const assert = require('node:assert/strict');
const fs = require('node:fs');
const http = require('node:http');
const https = require('node:https');
const os = require('node:os');
const path = require('node:path');
const tls = require('node:tls');
const { after, before, describe, it } = require('node:test');
const { openLivePush } = require('../e2e/support/live_push');
const { openPlayer } = require('../e2e/support/player');
const { makeCertificates } = require('./support/certificates');
const { masterOf, playlistOf } = require('./support/http');

const UNTRUSTED = -3204;
const REJECTED = -3202;
const BAD = ['expired', 'otherHost', 'unknownAuthority'];

describe('a server that is not trusted', { timeout: 60_000 }, () => {
  let folder;
  let live;
  let trusted;
  const addresses = {};
  const servers = [];
  const served = [];

  const listening = (server) =>
    new Promise((resolve) => {
      servers.push(server);
      server.listen(0, '127.0.0.1', () => resolve(`127.0.0.1:${server.address().port}`));
    });

  /** "/list/x" is a playlist of "https://x/a.ts", "/master/x" of another one, "/to/x" a redirect. */
  function answer(request, response) {
    const [, what, name] = request.url.split('?')[0].split('/');
    const target = `https://${addresses[name]}/a`;
    if (what === 'list') return response.end(playlistOf(target));
    if (what === 'key') {
      const key = `#EXT-X-KEY:METHOD=AES-128,URI="${target}"`;
      return response.end(playlistOf('/segment', [key]));
    }
    if (what === 'master') return response.end(masterOf(target));
    if (what === 'to') return response.writeHead(302, { Location: target }).end();
    return response.end(Buffer.alloc(10_000));
  }

  before(async () => {
    folder = fs.mkdtempSync(path.join(os.tmpdir(), 'hostile-tls-'));
    const certificates = await makeCertificates(folder);
    trusted = await listening(https.createServer(certificates.good, answer));
    addresses.plain = await listening(http.createServer(answer));
    for (const name of BAD) {
      const server = https.createServer(certificates[name], (request, response) => {
        served.push(request.url);
        response.end();
      });
      addresses[name] = await listening(server);
    }
    live = openLivePush({ extra: { trustedCertificates: certificates.authority } });
    addresses.rtmps = {};
    for (const name of BAD) {
      addresses.rtmps[name] = await listening(tls.createServer(certificates[name], () => {}));
    }
  });
  after(() => {
    live.close();
    for (const server of servers) server.close();
    fs.rmSync(folder, { recursive: true });
  });

  async function failureOf(url) {
    const player = openPlayer(live);
    try {
      return await player.failureOf(url);
    } finally {
      player.close();
    }
  }

  async function expectUntrusted(urlOf) {
    for (const name of BAD) {
      const error = await failureOf(urlOf(name));
      assert.equal(error.code, UNTRUSTED, `${name}: ${error.msg}`);
      assert.match(error.msg, /certificate/);
      assert.doesNotMatch(error.msg, /s3cret/);
    }
    assert.deepEqual(served, [], 'it received no request');
  }

  it('at the first connection', () =>
    expectUntrusted((name) => `https://u:s3cret@${addresses[name]}/a?s3cret`));

  it('behind a redirect', () => expectUntrusted((name) => `https://${trusted}/to/${name}`));

  it('behind a redirect from http', () =>
    expectUntrusted((name) => `http://${addresses.plain}/to/${name}`));

  it('with a segment', () => expectUntrusted((name) => `https://${trusted}/list/${name}`));

  it('with a playlist that another one names', () =>
    expectUntrusted((name) => `https://${trusted}/master/${name}`));

  it('with a key', () => expectUntrusted((name) => `https://${trusted}/key/${name}`));

  it('over RTMPS', () => expectUntrusted((name) => `rtmps://${addresses.rtmps[name]}/live/s3cret`));

  it('to publish to', async () => {
    for (const name of BAD) {
      const explained = live.next('onSDKError');
      const failed = live.next('onConnectFail');
      assert.equal(live.push.startPush(`rtmps://${addresses.rtmps[name]}/live/s3cret`), 0);
      const error = await explained;
      await failed;
      assert.equal(error.code, UNTRUSTED, `${name}: ${error.msg}`);
    }
  });

  it('is not bypassed over http', async () => {
    const redirect = https.createServer(
      {
        key: fs.readFileSync(path.join(folder, 'server.key')),
        cert: fs.readFileSync(path.join(folder, 'good.pem')),
      },
      (request, response) => {
        if (request.url === '/list') return response.end(playlistOf(`http://${addresses.plain}/a`));
        return response.writeHead(302, { Location: `http://${addresses.plain}/a` }).end();
      },
    );
    const address = await listening(redirect);
    for (const target of ['redirect', 'list']) {
      const error = await failureOf(`https://${address}/${target}`);
      assert.equal(error.code, REJECTED);
      assert.match(error.msg, /https server may not name an http address/);
    }
  });
});

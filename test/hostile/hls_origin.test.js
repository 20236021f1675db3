'use strict';

// Servers at public addresses must not name local ones. The servers run here, in a network
// namespace whose loopback interface has a public address.

const assert = require('node:assert/strict');
const { spawnSync } = require('node:child_process');
const path = require('node:path');
const { describe, it } = require('node:test');
const { startChild } = require('../../tools/rtmp/child');

const PUBLIC = '93.184.216.34';
const REJECTED = -3202;
const HOSTS = ['127.0.0.1', 'localhost', '[::1]', '[::ffff:127.0.0.1]', '0.0.0.0'];

const namespaces = spawnSync('unshare', ['--map-root-user', '--net', 'true']).status === 0;
const skip = namespaces ? false : 'this machine does not let us make network namespaces';

/** @param {string[]} hosts of local servers @param {object} [settings] extra configuration */
async function resultsWith(hosts, settings = {}) {
  const prepare = `ip link set lo up && ip address add ${PUBLIC}/32 dev lo && exec "$@"`;
  const child = startChild('unshare', [
    ...['--map-root-user', '--net', 'sh', '-ec', prepare, 'sh', process.execPath],
    ...[path.join(__dirname, 'support/origin_process.js'), PUBLIC, JSON.stringify(settings)],
    ...hosts,
  ]);
  let printed = '';
  child.process.stdout.setEncoding('utf8').on('data', (text) => {
    printed += text;
  });
  const log = await child.ended;
  assert.notEqual(printed, '', log);
  return Object.entries(JSON.parse(printed));
}

describe('a server at a public address', { timeout: 120_000, skip }, () => {
  it('does not reach local ones', async () => {
    const results = await resultsWith(HOSTS);
    assert.equal(results.length, 25);
    for (const [way, { reached, code, msg }] of results) {
      assert.equal(reached, false, way);
      assert.equal(code, REJECTED, `${way}: ${msg}`);
      assert.match(msg, /may not name .*, which is at a local address/, way);
    }
  });

  it('reaches them where a setting allows it', async () => {
    const results = await resultsWith(HOSTS.slice(0, 1), { sources: { localFromPublic: true } });
    assert.equal(results.length, 5);
    for (const [way, { reached }] of results) {
      assert.equal(reached, true, way);
    }
  });
});

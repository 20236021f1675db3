'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { runChild } = require('../../../tools/rtmp/child');

const KEY = ['-newkey', 'rsa:2048', '-nodes'];
const LIMIT = { deadlineSeconds: 30 };

/**
 * Creates an authority and server certificates for 127.0.0.1, one of which is valid.
 *
 * @param {string} folder where their files are put
 * @returns {Promise<{authority: string, good: object, expired: object, otherHost: object,
 *   unknownAuthority: object}>} `authority` is a file; the others are {key, cert}
 */
async function makeCertificates(folder) {
  const file = (name) => path.join(folder, name);
  const openssl = (...options) => runChild('openssl', options, LIMIT);
  const selfSigned = (name) =>
    openssl(
      'req',
      '-x509',
      ...KEY,
      '-days',
      '2',
      '-keyout',
      file(`${name}.key`),
      '-out',
      file(`${name}.pem`),
      '-subj',
      `/CN=${name}`,
    );
  const read = (name, key = 'server.key') => ({
    key: fs.readFileSync(file(key)),
    cert: fs.readFileSync(file(`${name}.pem`)),
  });

  await selfSigned('authority');
  await selfSigned('stranger');
  await openssl(
    'req',
    ...KEY,
    '-keyout',
    file('server.key'),
    '-out',
    file('server.csr'),
    '-subj',
    '/CN=server',
  );
  const signed = async (
    name,
    { days = 2, host = 'IP:127.0.0.1', authority = 'authority' } = {},
  ) => {
    fs.writeFileSync(file('extensions'), `subjectAltName=${host}`);
    const by = [
      '-CA',
      file(`${authority}.pem`),
      '-CAkey',
      file(`${authority}.key`),
      '-CAcreateserial',
    ];
    await openssl(
      'x509',
      '-req',
      '-in',
      file('server.csr'),
      ...by,
      '-days',
      String(days),
      '-extfile',
      file('extensions'),
      '-out',
      file(`${name}.pem`),
    );
    return read(name);
  };

  return {
    authority: file('authority.pem'),
    good: await signed('good'),
    expired: await signed('expired', { days: -1 }),
    otherHost: await signed('otherHost', { host: 'DNS:other.example' }),
    unknownAuthority: await signed('unknownAuthority', { authority: 'stranger' }),
  };
}

module.exports = { makeCertificates };

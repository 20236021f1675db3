'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { runChild } = require('../../../tools/rtmp/child');

/**
 * Creates a self-signed certificate for 127.0.0.1.
 *
 * @param {string} folder where its files are put
 * @returns {Promise<{key: Buffer, cert: Buffer, file: string}>} `file` holds the certificate
 */
async function makeCertificate(folder) {
  const [key, file] = ['key.pem', 'cert.pem'].map((name) => path.join(folder, name));
  await runChild(
    'openssl',
    [
      ...['req', '-x509', '-newkey', 'rsa:2048', '-nodes', '-days', '2', '-keyout', key],
      ...['-out', file, '-subj', '/CN=localhost', '-addext', 'subjectAltName=IP:127.0.0.1'],
    ],
    { deadlineSeconds: 30 },
  );
  return { key: fs.readFileSync(key), cert: fs.readFileSync(file), file };
}

module.exports = { makeCertificate };

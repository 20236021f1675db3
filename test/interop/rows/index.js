'use strict';

// The rows of the suite: media, sender and route. One file for each group of protocols; "npm test"
// runs the quick rows.

const { readMedia } = require('../lib/media');

/**
 * @typedef {object} Row
 * @property {string} name unique
 * @property {string} protocol
 * @property {string} via the route's name
 * @property {string} media words, see lib/media.js
 * @property {boolean} quick
 * @property {{start: Function, needs?: string[]}} route
 */

const groups = [
  require('./rtmp'),
  require('./http_flv'),
  require('./hls'),
  require('./srt'),
  require('./rtsp'),
  require('./files'),
];

/** @returns {Row[]} */
function readRows() {
  const rows = [];
  const names = new Set();
  for (const { routes, table } of groups) {
    for (const [protocol, via, ...list] of table) {
      const route = routes[protocol]?.[via];
      if (!route) throw new Error(`there is no route "${via}" for ${protocol}`);
      for (const text of list) {
        const quick = text.startsWith('* ');
        const media = quick ? text.slice(2) : text;
        const name = `${protocol}: ${via}: ${media}`;
        readMedia(media);
        if (names.has(name)) throw new Error(`there are two rows "${name}"`);
        names.add(name);
        rows.push({ name, protocol, via, media, quick, route });
      }
    }
  }
  return rows;
}

module.exports = { readRows };

'use strict';

const path = require('node:path');
const fs = require('node:fs');
const { clipIn } = require('../lib/clips');
const { files, startWebServer } = require('../lib/web_server');

/** Name -> ending and ffmpeg's options for the muxer. */
const CONTAINERS = {
  MP4: ['mp4', ['-movflags', '+write_colr']],
  'MP4, index first': ['mp4', ['-movflags', '+faststart']],
  'fragmented MP4': ['mp4', ['-movflags', '+frag_keyframe+empty_moov']],
  QuickTime: ['mov'],
  Matroska: ['mkv'],
  WebM: ['webm'],
  FLV: ['flv'],
  'MPEG-TS': ['ts'],
  'MPEG-PS': ['mpg'],
  AVI: ['avi'],
  Ogg: ['ogg'],
  MP3: ['mp3'],
  ADTS: ['aac'],
  FLAC: ['flac'],
  WAV: ['wav'],
};

const fileOf = (media, container) => clipIn(media, ...CONTAINERS[container]);

const local = (container) => async (media) => ({ url: await fileOf(media, container) });

const localUrl = (container) => async (media) => ({
  url: `file://${await fileOf(media, container)}`,
});

/** A web server with range requests. */
const web =
  (container, encrypted = false) =>
  async (media, context) => {
    const file = await fileOf(media, container);
    const address = await startWebServer(context, files(path.dirname(file)), encrypted);
    return { url: `${address}/${path.basename(file)}` };
  };

/** A web server that sends the file with its length, but without ranges. */
const webWithoutRanges = (container) => async (media, context) => {
  const data = fs.readFileSync(await fileOf(media, container));
  const answer = (_request, response) => response.end(data);
  return { url: `${await startWebServer(context, answer)}/file` };
};

const everyContainer = (start) =>
  Object.fromEntries(Object.keys(CONTAINERS).map((name) => [name, { start: start(name) }]));

module.exports = {
  file: {
    ...everyContainer(local),
    'MP4, file URL': { start: localUrl('MP4') },
  },
  'HTTP file': {
    ...everyContainer(web),
    'MP4, HTTPS': { start: web('MP4', true) },
    'MP4, no ranges': { start: webWithoutRanges('MP4, index first') },
    'FLV, no ranges': { start: webWithoutRanges('FLV') },
  },
};

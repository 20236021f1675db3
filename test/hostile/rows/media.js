'use strict';

// Media designed to exhaust memory, over each protocol that carries them.

const { EventEmitter, once } = require('node:events');
const fs = require('node:fs');
const http = require('node:http');
const { setTimeout: sleep } = require('node:timers/promises');
const { startChild } = require('../../../tools/rtmp/child');
const { freePort } = require('../../../tools/rtmp/rtmp_server');
const media = require('../support/media');
const rtmp = require('../support/rtmp');

const REJECTED = -3202;
const UNDECODABLE = -3203;

const tooLarge = (pixels) => ({
  code: UNDECODABLE,
  withinMs: 2000,
  msg: new RegExp(`${pixels}.*limits\\.maxFramePixels`),
});

const tooMuch = { code: UNDECODABLE, withinMs: 4000, msg: /limits\.maxQueuedBytes/ };

// The tag's size is 256 MB less one, seven bits a byte.
const ID3 = Buffer.from([0x49, 0x44, 0x33, 3, 0, 0, 0x7f, 0x7f, 0x7f, 0x7f]);
const FLV_HEAD = Buffer.from('464c5601050000000900000000', 'hex');
// A script tag of 16 MB less one.
const SCRIPT_TAG = Buffer.from('12ffffff00000000000000', 'hex');

/** Plays a file, which the application reads itself, so that the start cannot be observed. */
const playFile = (make) => async () => {
  const server = Object.assign(new EventEmitter(), { url: await make(), close: async () => {} });
  const timer = setInterval(() => server.emit('attack'), 50);
  server.close = async () => clearInterval(timer);
  return server;
};

async function listening(server, listener, name) {
  listener.listen(0, '127.0.0.1');
  await once(listener, 'listening');
  return Object.assign(server, {
    url: `http://127.0.0.1:${listener.address().port}/${name}`,
    async close() {
      listener.closeAllConnections();
      listener.close();
    },
  });
}

/** Sends a file over HTTP and leaves the connection open. */
const overHttp =
  (make, { name = 'stream', length = false } = {}) =>
  async () => {
    const data = fs.readFileSync(await make());
    const server = new EventEmitter();
    const listener = http.createServer((_request, response) => {
      if (length) response.setHeader('Content-Length', data.length);
      response.write(data);
      server.emit('attack');
    });
    await new Promise((resolve) => {
      listener.listen(0, '127.0.0.1', resolve);
    });
    return Object.assign(server, {
      url: `http://127.0.0.1:${listener.address().port}/${name}`,
      async close() {
        listener.closeAllConnections();
        listener.close();
      },
    });
  };

/** Sends a beginning over HTTP, then repeats the same bytes forever. */
const endless = (beginning, piece) => async () => {
  const server = new EventEmitter();
  const listener = http.createServer(async (_request, response) => {
    response.write(beginning);
    server.emit('attack');
    for (const until = performance.now() + 20_000; performance.now() < until; ) {
      if (response.destroyed) return;
      response.write(piece);
      while (response.writableNeedDrain && !response.destroyed) await sleep(1);
      await new Promise(setImmediate);
    }
  });
  return listening(server, listener, 'stream');
};

/** Plays FLV files one after the other over RTMP, with their own time stamps. */
const overRtmp = (...makes) =>
  rtmp.rtmpServer(async (peer, role) => {
    await rtmp.acceptStream(peer, role);
    peer.attack();
    for (const make of makes) {
      for (const { type, timestamp, body } of media.flvTags(await make())) {
        await peer.write(rtmp.message(type, body, { chunkStream: 4, stream: 1, timestamp }));
      }
      await sleep(300);
    }
  });

/** Sends a file over SRT with ffmpeg, in a loop. */
const overSrt = (make) => async () => {
  const file = await make();
  const server = new EventEmitter();
  const port = await freePort();
  let child;
  let closed = false;
  const serve = async () => {
    while (!closed) {
      const address = `srt://127.0.0.1:${port}?mode=listener`;
      const options = ['-v', 'error', '-re', '-stream_loop', '-1', '-i', file, '-c', 'copy'];
      child = startChild('ffmpeg', [...options, '-f', 'mpegts', address]);
      await child.ended;
    }
  };
  serve();
  await sleep(300);
  const timer = setInterval(() => server.emit('attack'), 300);
  return Object.assign(server, {
    url: `srt://127.0.0.1:${port}`,
    async close() {
      closed = true;
      clearInterval(timer);
      await child.stop();
    },
  });
};

const HUGE = '16384x8704';
const SIDE = 16_000;

module.exports = [
  {
    name: `H.264 of ${HUGE}, HTTP-FLV`,
    serve: overHttp(media.hugeFlv),
    play: tooLarge(HUGE),
    quick: true,
  },
  {
    name: `H.264 of ${HUGE}, RTMP`,
    serve: overRtmp(media.hugeFlv),
    play: tooLarge(HUGE),
    quick: true,
  },
  {
    name: `H.264 of 320x180, then of ${HUGE}, RTMP`,
    serve: overRtmp(() => media.small('flv'), media.hugeFlv),
    play: { ...tooLarge(HUGE), withinMs: 4000 },
  },
  {
    name: `H.264 of ${HUGE}, MPEG-TS over HTTP`,
    serve: overHttp(() => media.hugeIn('ts')),
    play: tooLarge(HUGE),
  },
  {
    name: `H.264 of 320x180, then of ${HUGE}, MPEG-TS over HTTP`,
    serve: overHttp(media.growing),
    play: { ...tooLarge(HUGE), withinMs: 4000 },
    quick: true,
  },
  {
    name: `H.264 of ${HUGE}, MPEG-TS over SRT`,
    serve: overSrt(() => media.hugeIn('ts')),
    play: tooLarge(HUGE),
  },
  {
    name: `H.264 of ${HUGE}, MP4 over HTTP`,
    serve: overHttp(() => media.hugeIn('mp4', '-movflags', '+faststart'), { length: true }),
    play: tooLarge(HUGE),
  },
  {
    name: `H.264 of ${HUGE}, Matroska file`,
    serve: playFile(() => media.hugeIn('mkv')),
    play: tooLarge(HUGE),
  },
  {
    name: `PNG of ${SIDE}x${SIDE} over HTTP`,
    serve: overHttp(() => media.png(SIDE), { length: true }),
    play: tooLarge(`${SIDE}x${SIDE}`),
    quick: true,
  },
  {
    name: `PNG of ${SIDE}x${SIDE}, a file`,
    serve: playFile(() => media.png(SIDE)),
    play: tooLarge(`${SIDE}x${SIDE}`),
  },
  {
    name: 'an ID3 tag of 256 MB',
    serve: endless(ID3, Buffer.alloc(256 * 1024)),
    play: {
      code: REJECTED,
      withinMs: 4000,
      msg: /tags in front of the media are larger than 8 MiB/,
    },
    quick: true,
  },
  {
    name: 'a PNG without end',
    serve: endless(
      Buffer.from('89504e470d0a1a0a0000000d4948445200000100000001000802000000d3103f31', 'hex'),
      Buffer.concat([Buffer.from('0003fff474455874', 'hex'), Buffer.alloc(256 * 1024 - 8)]),
    ),
    play: tooMuch,
  },
  {
    name: 'FLV of script data without end',
    serve: endless(
      FLV_HEAD,
      Buffer.concat([SCRIPT_TAG, Buffer.alloc(0xffffff), Buffer.from([1, 0, 0, 10])]),
    ),
    play: { code: UNDECODABLE, withinMs: 4000 },
  },
  {
    name: 'JPEG of 20000x20000 over HTTP',
    serve: overHttp(() => media.jpeg(20_000), { length: true }),
    play: tooLarge('20000x20000'),
  },
];

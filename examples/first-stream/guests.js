'use strict';

const { startTestPublisher } = require('../../tools/rtmp/publisher');
const { VIDEO_SIZE } = require('./live_session');

const SIZE = { width: 384, height: 216 };
const MARGIN = 32;
const STREAMS = [
  { name: 'guest-one', source: 'testsrc2', tone: 660 },
  { name: 'guest-two', source: 'rgbtestsrc', tone: 880 },
];

/** Two streams of other users, published by FFmpeg, to be played and mixed with the local one. */
class Guests {
  #server;
  #publishers;

  /** @param {{url: (stream: string) => string}} server */
  constructor(server) {
    this.#server = server;
    this.#publishers = STREAMS.map(({ name, ...video }) =>
      startTestPublisher(server.url(name), video),
    );
  }

  /**
   * Plays them and places them in the lower corners of the mix.
   *
   * @param {import('./live_session').PusherSession} session
   */
  async join(session) {
    const failed = new Promise((_resolve, reject) => {
      session.once('failure', (text) => reject(new Error(text)));
    });
    const players = STREAMS.map(({ name }) => session.play(this.#server.url(name)));
    await Promise.race([failed, Promise.all(players.map(({ drawn }) => drawn))]);
    const y = VIDEO_SIZE.height - SIZE.height - MARGIN;
    const places = [MARGIN, VIDEO_SIZE.width - SIZE.width - MARGIN];
    session.mix({
      mixStreams: [
        { userId: 'local', x: 0, y: 0, ...VIDEO_SIZE, zOrder: 0 },
        ...players.map(({ id }, index) => ({
          userId: id,
          x: places[index],
          y,
          ...SIZE,
          zOrder: 1,
        })),
      ],
    });
  }

  async stop() {
    await Promise.all(this.#publishers.map((publisher) => publisher.stop()));
  }
}

module.exports = { Guests };

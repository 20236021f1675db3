'use strict';

const { setTimeout: sleep } = require('node:timers/promises');
const { createLivePush, sdkDirectory } = require('../../../lib');
const { EVENTS, EVENT_NAMES } = require('../../../lib/events');

// A size that two cores encode many times over, so that a loaded machine changes no outcome.
const CONFIG = { width: 640, height: 360, frameRate: 30, mTargetVideoBitrate: 800 };

/** What the SDK raises: neither the reserved names nor the add-on's own error. */
const RAISED = EVENT_NAMES.filter((name) =>
  ['pusher', 'player', 'both'].includes(EVENTS[name].raisedBy),
);

const TEST_SOURCES = { camera: 'test', microphone: 'test' };

/**
 * A pusher of the default SDK with every event recorded. One at a time: the SDK has one pusher.
 *
 * @param {object} [options]
 * @param {object} [options.extra] extra configuration, on top of the test sources
 * @param {object} [options.config] for initPusher, on top of a small size at 30 fps
 */
function openLivePush({ extra = {}, config = {} } = {}) {
  const push = createLivePush();
  if (!push.registPlugin(sdkDirectory)) throw new Error(`no SDK in ${sdkDirectory}`);
  push.setExtraConfig(JSON.stringify({ ...TEST_SOURCES, ...extra }));

  /**
   * @type {{name: string, payload: any}[]} all events except frames
   */
  const events = [];
  const waiting = [];
  for (const name of RAISED) {
    const registered = push.addEventListener(name, (payload) => {
      if (name !== 'onVideoRenderData') events.push({ name, payload });
      for (const waiter of [...waiting]) waiter(name, payload);
    });
    if (registered !== true) {
      const error = new Error(`addEventListener(${name}) gave ${registered}`);
      throw Object.assign(error, { result: registered });
    }
  }
  push.initPusher({ ...CONFIG, ...config });

  return {
    push,
    events,

    /** @returns {string[]} the names of the events so far */
    names: () => events.map(({ name }) => name),

    /**
     * Resolves with the payload of the next event of that name that `accept` takes.
     *
     * @param {string} name
     * @param {(payload: any) => boolean} [accept]
     */
    next(name, accept = () => true) {
      return new Promise((resolve) => {
        const waiter = (raised, payload) => {
          if (raised !== name || !accept(payload)) return;
          waiting.splice(waiting.indexOf(waiter), 1);
          resolve(payload);
        };
        waiting.push(waiter);
      });
    },

    /** The next captured frame that JavaScript receives. */
    async nextFrame(accept) {
      const [frame] = await this.next('onVideoRenderData', ([first]) => !accept || accept(first));
      return frame;
    },

    /**
     * @returns {Promise<number>} identifies the screen or window of that name, once it exists
     */
    async sourceNamed(pattern) {
      for (;;) {
        const sources = push.getScreenShareSourceInfo();
        const found = sources.find(({ sourceName }) => pattern.test(sourceName));
        if (found) return found.sourceId;
        await sleep(20);
      }
    },

    close: () => push.destroyPusher(),
  };
}

/** @returns {number[]} Y, U and V at a place of a frame, given in fractions of its size */
function pixel(frame, x, y) {
  const rows = Math.ceil(frame.height / 2);
  const at = (data, stride, width, height) =>
    data[Math.floor(y * height) * stride + Math.floor(x * width)];
  const chroma = [frame.width / 2, frame.height / 2];
  return [
    at(frame.data_y, frame.data_y_len / frame.height, frame.width, frame.height),
    at(frame.data_u, frame.data_u_len / rows, ...chroma),
    at(frame.data_v, frame.data_v_len / rows, ...chroma),
  ];
}

module.exports = { CONFIG, openLivePush, pixel };

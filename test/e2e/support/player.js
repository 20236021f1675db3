'use strict';

/**
 * A player and its events.
 *
 * @param {ReturnType<import('./live_push').openLivePush>} live
 * @param {object} [config] for initPlayer
 */
function openPlayer(live, config = {}) {
  const { push } = live;
  const id = push.initPlayer(config);
  if (!id) throw new Error('no player');
  const before = live.events.length; // another player may have had this ID
  const isOwn = (payload) => payload.playerID === id;

  return {
    id,

    /**
     * @returns {string[]} the names of its events so far, without the statistics of every second
     */
    names: () =>
      live.events
        .slice(before)
        .filter(({ name, payload }) => name !== 'onPlayerStatistics' && payload && isOwn(payload))
        .map(({ name }) => name),

    /** Resolves with the payload of its next event of that name that `accept` takes. */
    next: (name, accept = () => true) =>
      live.next(name, (payload) => isOwn(payload) && accept(payload)),

    /** Its next frame that JavaScript receives and `accept` accepts. */
    async nextFrame(accept = () => true) {
      const [frame] = await live.next(
        'onVideoRenderData',
        ([first]) => first?.user_id === id && accept(first),
      );
      return frame;
    },

    /** @returns {number} */
    start: (url) => push.startPlay(id, url),

    /** Plays `url` and resolves with the first frame, or rejects with the error that was raised. */
    async play(url) {
      const failed = this.next('onPlayError').then((error) => {
        throw new Error(`onPlayError ${error.code}: ${error.msg}`);
      });
      const frame = this.nextFrame();
      const started = this.next('onPlayStarted');
      const result = push.startPlay(id, url);
      if (result !== 0) throw new Error(`startPlay returned ${result}`);
      return Promise.race([failed, Promise.all([frame, started]).then(([first]) => first)]);
    },

    /** Plays `url`, which must fail. Resolves with the error. */
    async failureOf(url) {
      const failed = this.next('onPlayError');
      const result = push.startPlay(id, url);
      if (result !== 0) throw new Error(`startPlay returned ${result}`);
      return failed;
    },

    async stop() {
      const stopped = this.next('onPlayStopped');
      const result = push.stopPlay(id);
      if (result !== 0) throw new Error(`stopPlay returned ${result}`);
      await stopped;
    },

    close: () => push.destroyPlayer(id),
  };
}

module.exports = { openPlayer };

'use strict';

const { PLAYER_EVENT_NAMES } = require('./events');
const { LivePushError } = require('./live_push_error');
const { Operations } = require('./operations');

/** Returns whether an event of the add-on concerns the player `id`. */
function concerns(id, payload) {
  const about = Array.isArray(payload) ? payload[0]?.user_id : payload?.playerID;
  return about === id;
}

/**
 * A player of one remote stream. LivePush.createPlayer() makes them.
 *
 * Everything throws LivePushError: "REFUSED", "SDK_ERROR", or "DISPOSED" after dispose().
 */
class LivePlayer {
  /** The player ID, which player events carry and the raw methods take. */
  id;

  #session;
  #subscriber;
  #operations;
  #disposed = false;

  /**
   * @param {object} session the parts of LivePush that its players share
   * @param {(method: string, args: unknown[]) => unknown} session.call
   * @param {import('./event_hub').EventHub} session.hub
   * @param {(player: LivePlayer) => void} session.forget called once, when the player is disposed
   * @param {string} id
   */
  constructor(session, id) {
    this.id = id;
    this.#session = session;
    this.#subscriber = { owner: this, accepts: (payload) => concerns(id, payload) };
    this.#operations = new Operations(session.hub, this.#subscriber);
  }

  on(name, listener) {
    return this.#subscribe(name, listener, false);
  }

  once(name, listener) {
    return this.#subscribe(name, listener, true);
  }

  off(name, listener) {
    this.#session.hub.remove(name, listener, this);
  }

  setPlayView(options) {
    this.#call('setPlayView', options);
  }

  startPlay(url, options) {
    return this.#operations.run('startPlay', () => this.#call('startPlay', url), options);
  }

  stopPlay(options) {
    return this.#operations.run('stopPlay', () => this.#call('stopPlay'), options);
  }

  setRemoteAudioVolume(volume) {
    this.#call('setRemoteAudioVolume', volume);
  }

  getPlayMode() {
    return this.#call('getPlayMode');
  }

  /** Destroys the player and rejects its pending promises. Further calls have no effect. */
  dispose() {
    if (this.#disposed) return;
    this.#call('destroyPlayer');
    this.#disposed = true;
    this.#operations.interrupt('DISPOSED');
    this.#session.hub.clear(this);
    this.#session.forget(this);
  }

  #call(method, ...args) {
    this.#mustBeUsable(method);
    return this.#session.call(method, [this.id, ...args]);
  }

  #subscribe(name, listener, once) {
    this.#mustBeUsable('on');
    if (!PLAYER_EVENT_NAMES.includes(name)) {
      throw new TypeError(`A player has no event "${String(name)}"`);
    }
    return this.#session.hub.add(name, { ...this.#subscriber, listener, once });
  }

  #mustBeUsable(method) {
    if (this.#disposed) throw new LivePushError('DISPOSED', method);
  }
}

module.exports = { LivePlayer };

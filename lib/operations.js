'use strict';

const { LivePushError } = require('./live_push_error');

// Some SDKs report that a push failed and the reason only afterwards, in an event of its own. Some
// refuse a request at once and report it again in an event.
const REASON_GRACE_MS = 250;

const PREVIEW = {
  started: 'onPreviewStarted',
  stopped: 'onPreviewStopped',
  reason: 'onSystemError',
};
const PUSH = {
  started: 'onPushStarted',
  stopped: 'onPushStopped',
  failed: 'onConnectFail',
  reason: 'onSDKError',
};
const PLAY = { started: 'onPlayStarted', stopped: 'onPlayStopped', failed: 'onPlayError' };

/*
 * The operations whose outcome is an event. One that starts something completes when it has started,
 * failed or been stopped. Each of the others is answered by one event, in the order of the requests;
 * `answersRefusals`: an SDK may also answer those that it has refused at once.
 */
const OUTCOMES = {
  startPreview: { start: PREVIEW },
  startPreviewAsync: { start: PREVIEW },
  stopPreview: { answer: PREVIEW.stopped },
  startPush: { start: PUSH },
  startPushAsync: { start: PUSH },
  stopPush: { answer: PUSH.stopped },
  setLiveMixTranscodingConfig: { answer: 'onSetLiveMixTranscodingConfig', answersRefusals: true },
  startPlay: { start: PLAY },
  stopPlay: { answer: PLAY.stopped },
};

/** The operations of one object that wait for their outcome. */
class Operations {
  #hub;
  #subscriber;
  #pending = new Set();
  /** @type {Map<string, object[]>} event -> the operations that it will answer, oldest first */
  #awaiting = new Map();

  /**
   * @param {import('./event_hub').EventHub} hub
   * @param {Pick<import('./event_hub').Subscription, 'owner' | 'accepts'>} subscriber
   */
  constructor(hub, subscriber) {
    this.#hub = hub;
    this.#subscriber = subscriber;
  }

  /**
   * @param {string} method a key of OUTCOMES
   * @param {() => void} request makes the native call; throws when that failed
   * @param {{signal?: AbortSignal, timeoutMs?: number}} [options] end the waiting, not the operation
   * @returns {Promise<void>} rejected with a LivePushError, or with the signal's reason
   */
  run(method, request, options = {}) {
    return new Promise((resolve, reject) => {
      options.signal?.throwIfAborted();
      const operation = this.#begin(method, options, resolve, reject);
      const { start, answer, answersRefusals } = OUTCOMES[method];
      let queue;
      try {
        if (start) this.#watch(operation, start);
        queue = answer && this.#awaitingOf(answer);
        request();
        queue?.push(operation);
      } catch (error) {
        if (answersRefusals && error.code === 'SDK_ERROR') expectRefusal(queue, operation);
        operation.settle(error);
      }
    });
  }

  /** Rejects all pending operations. @param {string} code of the LivePushError */
  interrupt(code) {
    for (const queue of this.#awaiting.values()) queue.length = 0;
    for (const { method, settle } of [...this.#pending]) settle(new LivePushError(code, method));
  }

  #begin(method, { signal, timeoutMs = Infinity }, resolve, reject) {
    if (!(timeoutMs >= 0)) throw new TypeError(`timeoutMs must be 0 or more, not ${timeoutMs}`);
    const cleanUp = [];
    const settle = (...errors) => {
      if (!this.#pending.delete(operation)) return;
      for (const step of cleanUp) step();
      if (errors.length === 0) resolve();
      else reject(errors[0]);
    };
    const operation = { method, settle, cleanUp };
    this.#pending.add(operation);
    if (timeoutMs !== Infinity) {
      after(operation, timeoutMs, () => settle(new LivePushError('TIMEOUT', method)));
    }
    if (signal) {
      const abort = () => settle(signal.reason);
      signal.addEventListener('abort', abort);
      cleanUp.push(() => signal.removeEventListener('abort', abort));
    }
    return operation;
  }

  #watch(operation, { started, stopped, failed, reason }) {
    const listen = (event, listener) => {
      if (event) operation.cleanUp.push(this.#hub.add(event, { ...this.#subscriber, listener }));
    };
    const fail = (code, error) => operation.settle(failure(operation.method, code, error));
    // Events before the answers to earlier stop requests do not concern this start.
    let earlierStops = this.#awaitingOf(stopped).length;
    let lastReason;
    let hasFailed = false;

    listen(started, () => {
      if (earlierStops === 0) operation.settle();
    });
    listen(stopped, () => {
      if (earlierStops === 0) fail(lastReason ? 'SDK_ERROR' : 'INTERRUPTED', lastReason);
      else earlierStops -= 1;
    });
    listen(failed, (error) => {
      if (earlierStops > 0) return;
      if (error || !reason) return fail('SDK_ERROR', error);
      hasFailed = true;
      after(operation, REASON_GRACE_MS, () => fail('SDK_ERROR'));
    });
    listen(reason, (error) => {
      if (earlierStops > 0) return;
      lastReason = error;
      if (hasFailed) fail('SDK_ERROR', error);
    });
  }

  /** The operations that `event` will answer; an abandoned one still consumes its answer. */
  #awaitingOf(event) {
    const known = this.#awaiting.get(event);
    if (known) return known;
    const queue = [];
    this.#hub.add(event, {
      ...this.#subscriber,
      listener: (payload) => {
        const succeeded = payload?.isSuccess !== false;
        while (succeeded && queue[0]?.isRefused) queue.shift();
        const operation = queue.shift();
        if (!operation) return;
        if (succeeded) operation.settle();
        else operation.settle(failure(operation.method, 'SDK_ERROR', payload));
      },
    });
    this.#awaiting.set(event, queue);
    return queue;
  }
}

/** For a while the next failure is attributed to `operation`, which has been refused. */
function expectRefusal(queue, operation) {
  operation.isRefused = true;
  queue.push(operation);
  setTimeout(() => {
    if (queue.includes(operation)) queue.splice(queue.indexOf(operation), 1);
  }, REASON_GRACE_MS).unref();
}

function after(operation, milliseconds, action) {
  const timer = setTimeout(action, Math.min(milliseconds, 2 ** 31 - 1));
  operation.cleanUp.push(() => clearTimeout(timer));
}

/** @param {{msg?: string, code?: number}} [event] the payload with the reason */
function failure(method, code, event) {
  return new LivePushError(code, method, {
    text: event?.msg || undefined,
    nativeCode: event?.code,
  });
}

module.exports = { OUTCOMES, Operations };

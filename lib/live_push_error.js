'use strict';

/**
 * An operation of LivePush or LivePlayer that failed.
 *
 * @property {string} code "REFUSED": the add-on refused the call, because of its arguments or
 *   because there is no pusher, player or plug-in. "SDK_ERROR": the SDK returned an error, or
 *   reported one instead of the outcome. "INTERRUPTED": something else ended the operation first.
 *   "TIMEOUT": no outcome within `timeoutMs`. "DISPOSED": the object is not usable any more.
 * @property {string} method the method that failed
 * @property {unknown} nativeCode the native method's return value, or the error event's code
 */
class LivePushError extends Error {
  constructor(code, method, { text, nativeCode } = {}) {
    const number = typeof nativeCode === 'number' ? ` (${nativeCode})` : '';
    super(`${method}: ${text ?? DEFAULT_TEXTS[code]}${number}`);
    this.name = 'LivePushError';
    this.code = code;
    this.method = method;
    this.nativeCode = nativeCode;
  }
}

const DEFAULT_TEXTS = {
  REFUSED: 'refused: bad arguments, or no pusher, player or plug-in to do it with',
  SDK_ERROR: 'the SDK failed',
  INTERRUPTED: 'ended before it had an outcome',
  TIMEOUT: 'no outcome in time',
  DISPOSED: 'the object has been disposed',
};

module.exports = { LivePushError };

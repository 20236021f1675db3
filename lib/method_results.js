'use strict';

const { LivePushError } = require('./live_push_error');
const { METHODS } = require('./methods');

/**
 * Distinguishes success from failure. The add-on's own failure values are not error codes of the SDK.
 *
 * @param {string} method
 * @param {unknown} result what the native method returned
 * @returns {unknown} the value that was asked for; undefined for methods that only succeed or fail
 * @throws {LivePushError} "REFUSED" or "SDK_ERROR"
 */
function checkResult(method, result) {
  const { returns, failures } = METHODS[method];
  const isEmptyRecord = returns === 'record' && Object.keys(result).length === 0;
  if (isEmptyRecord) throw new LivePushError('REFUSED', method);
  if (failures.includes(result)) {
    throw new LivePushError('REFUSED', method, { nativeCode: result });
  }
  if (returns !== 'status') return result;
  if (result !== 0) throw new LivePushError('SDK_ERROR', method, { nativeCode: result });
  return undefined;
}

module.exports = { checkResult };

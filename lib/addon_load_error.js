'use strict';

/**
 * A failure to load the native add-on, with its cause and a remedy. Thrown by everything that needs
 * the add-on.
 *
 * @property {string} code names the cause, see the table of explain_load_failure.js
 * @property {string} remedy what to do; the message ends with it too
 * @property {Error | undefined} cause the runtime's own error, when it was the runtime that refused
 */
class AddonLoadError extends Error {
  /** @param {{code: string, reason: string, remedy: string, cause?: Error}} explanation */
  constructor({ code, reason, remedy, cause }) {
    super(`lumolivepush-electron-sdk cannot be used: ${reason} ${remedy}`, cause && { cause });
    this.name = 'AddonLoadError';
    this.code = code;
    this.remedy = remedy;
  }
}

module.exports = { AddonLoadError };

'use strict';

/*
 * The package's entry point. Requiring it never throws: without a usable add-on, `loadError` is the
 * reason, and the functions and classes throw it when they are used.
 */

const { LivePlayer } = require('./live_player');
const { LivePush } = require('./live_push');
const { LivePushError } = require('./live_push_error');
const { AddonLoadError, addon, loadError, sdkDirectory } = require('./native');

module.exports = {
  LumoLivePushJSWrapper: addon.LumoLivePushJSWrapper,
  createLivePush: addon.createLivePush,
  sdkDirectory,
  isSupported: () => loadError === undefined,
  loadError,
  AddonLoadError,
  LivePush,
  LivePlayer,
  LivePushError,
};

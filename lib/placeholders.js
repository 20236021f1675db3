'use strict';

/*
 * What the package offers when its add-on cannot be loaded. These lines also serve in a bundle that
 * has nothing else of the package: they need no other file.
 */

/** @returns {Error} for code that was bundled and finds no installed package */
function notInstalled(AddonLoadError) {
  return new AddonLoadError({
    code: 'BUNDLED',
    reason: 'it was bundled into another file, and is not installed for that.',
    remedy:
      'Install it beside the bundle, and tell the bundler that "lumolivepush-electron-sdk" is external.',
  });
}

/**
 * Throw the reason when they are used; like the real ones, they can be called without new.
 * @param {Error} loadError
 */
function placeholders(loadError) {
  return {
    LumoLivePushJSWrapper: function LumoLivePushJSWrapper() {
      throw loadError;
    },
    createLivePush: function createLivePush() {
      throw loadError;
    },
  };
}

module.exports = { notInstalled, placeholders };

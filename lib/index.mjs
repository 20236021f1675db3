import module from 'node:module';
import { isAbsolute } from 'node:path';
import errors from './addon_load_error.js';
import absent from './placeholders.js';

/** The file that holds these lines, also when they are bundled into one of CommonJS's format. */
function thisFile() {
  try {
    if (isAbsolute(__filename)) return __filename; // there is also a global one, "[eval]"
  } catch {
    // This is a module.
  }
  return import.meta.url;
}

// Taken apart, since webpack would look into a call that it recognises.
const { createRequire } = module;

/** The package loads itself by its name: so a bundle of this file finds the installed package. */
function load() {
  try {
    return createRequire(thisFile())('lumolivepush-electron-sdk');
  } catch (error) {
    if (error.code !== 'MODULE_NOT_FOUND') throw error;
    const loadError = absent.notInstalled(errors.AddonLoadError);
    const { createLivePush, LumoLivePushJSWrapper } = absent.placeholders(loadError);
    return {
      LumoLivePushJSWrapper,
      createLivePush,
      isSupported: () => false,
      loadError,
      AddonLoadError: errors.AddonLoadError,
      LivePush: LumoLivePushJSWrapper,
    };
  }
}

export const {
  LumoLivePushJSWrapper,
  createLivePush,
  sdkDirectory,
  isSupported,
  loadError,
  AddonLoadError,
  LivePush,
  LivePlayer,
  LivePushError,
} = load();

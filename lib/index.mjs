import lumo from './index.js';

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
} = lumo;

// The package's face as an ES module.
import { createLivePush, LivePush, type LumoLivePushJSWrapper } from 'lumolivepush-electron-sdk';

const native: LumoLivePushJSWrapper = createLivePush();
native.addEventListener('onPushStarted', () => {});
new LivePush().on('onPushStarted', () => {});

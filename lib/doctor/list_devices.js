'use strict';

// Usage: list_devices.js
//
// Writes what the default SDK lists, as one line of JSON: the names of cameras, microphones and
// screens, without the test sources.

const { createLivePush, sdkDirectory } = require('..');

const TEST_SOURCE = 'test';
const live = createLivePush();
live.registPlugin(sdkDirectory);
live.setConsoleEnabled(false);

const namesOf = (devices) =>
  devices.filter(({ deviceId }) => deviceId !== TEST_SOURCE).map(({ deviceName }) => deviceName);

const found = {
  cameras: namesOf(live.getCameraList()),
  microphones: namesOf(live.getAudioCaptureList()),
  'screens and windows': live.getScreenShareSourceInfo().map(({ sourceName }) => sourceName),
};
process.stdout.write(`\n${JSON.stringify(found)}\n`, () => process.exit(0));

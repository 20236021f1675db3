'use strict';

/*
 * Usage: forked, with a message channel
 *
 * Listens for frames while the system lets this process start no thread, and lets another wrapper
 * do so when it does. Who forks it limits the threads when it sends "limit", and lifts the limit
 * when it sends "lift".
 */

const { once } = require('node:events');
const { createLivePush, sdk, scriptedDirectory } = require('../support/addon');

const ANOTHER_USER = 60_999; // the limit does not hold for root

function newWrapper() {
  const wrapper = createLivePush();
  wrapper.registPlugin(scriptedDirectory);
  wrapper.initPusher({});
  return wrapper;
}

function ask(message) {
  process.send(message);
  return once(process, 'message');
}

async function main() {
  const [wrapper, other] = [newWrapper(), newWrapper()];
  const { self: target } = sdk.calls('pusher.init')[0];
  process.setgid(ANOTHER_USER);
  process.setuid(ANOTHER_USER);

  await ask('limit');
  let report;
  const result = wrapper.addEventListener('onVideoRenderData', (frames) => report(frames.length));
  const lines = sdk.logs('Electron').map(({ format, args }) => [format, ...args].join(' '));

  await ask('lift');
  other.addEventListener('onVideoRenderData', () => {});
  const frames = await new Promise((resolve) => {
    report = resolve;
    sdk.fire('onCaptureVideoSample', { target, source: 0, frame: { width: 16, height: 2 } });
  });
  process.send({ result, lines, frames }, () => process.exit(0));
}

main();

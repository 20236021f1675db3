'use strict';

// Every event of the list: its callback raises it once, with the keys that the list says, in order.

const assert = require('node:assert/strict');
const { describe, it } = require('node:test');
const { EVENTS } = require('../../../lib/events');
const { flush, recordEvents, sdk } = require('../support/addon');
const { newWrapper, useFreshSdk } = require('../support/wrapper');

/** What a callback cannot do without. */
const NEEDED = { onAudioVolumeCallback: { volumes: [{}] } };

/** The objects whose callback raises an event. */
const raisers = (raisedBy) => (raisedBy === 'both' ? ['pusher', 'player'] : [raisedBy]);

const RAISED = Object.entries(EVENTS).flatMap(([name, { raisedBy, carries, callback = name }]) => {
  const objects = raisers(raisedBy).filter((object) => ['pusher', 'player'].includes(object));
  if (carries === null) return []; // frames, and the add-on's own error, have tests of their own
  return objects.map((object) => ({ name, carries, callback: `${object}.${callback}` }));
});

/** Callbacks of frames, which raise nothing at once. */
const FRAMES = ['pusher.onCaptureVideoSample', 'player.onRemoteVideoSample'];

describe('every event', () => {
  useFreshSdk();

  for (const { name, carries, callback } of RAISED) {
    const payload = carries.length > 0 ? carries.join(', ') : 'nothing';

    it(`${callback} raises "${name}" once, with ${payload}`, async () => {
      const wrapper = newWrapper();
      wrapper.initPusher({});
      wrapper.initPlayer({});
      const events = recordEvents(wrapper);
      assert.equal(sdk.fire(callback, NEEDED[name]).delivered, true);
      await flush();
      const keys = events.map(({ args }) => args.map((argument) => Object.keys(argument)));
      assert.deepEqual(keys, [carries.length > 0 ? [carries] : []]);
      assert.equal(events[0].name, name);
    });
  }

  it('has its callback, and every callback its event', () => {
    const callbacks = [...RAISED.map(({ callback }) => callback), ...FRAMES];
    assert.deepEqual(callbacks.sort(), sdk.names().callbacks.sort());
  });
});

'use strict';

/*
 * Wrappers for tests, and what the add-on wrote to the log.
 */

const { beforeEach } = require('node:test');
const { addon, createLivePush, scriptedDirectory, sdk } = require('./addon');

// Wrappers stay alive to the end, so that no collection's SDK calls appear in another test.
const kept = [];

/** A wrapper that is never collected. */
function newWrapper() {
  const wrapper = createLivePush();
  kept.push(wrapper);
  return wrapper;
}

/** A wrapper that never gets a pusher: its acquisition flag is false. */
function newWrapperWithoutPusher() {
  const wrapper = new addon.LumoLivePushJSWrapper(false);
  kept.push(wrapper);
  return wrapper;
}

/** Begins every test of the file with an empty record and the scripted SDK's logger loaded. */
function useFreshSdk() {
  beforeEach(() => {
    newWrapper().registPlugin(scriptedDirectory);
    sdk.reset();
  });
}

/** @returns {string[]} "object.operation" of every SDK call since the reset */
function callNames() {
  return sdk.calls().map(({ object, name }) => `${object}.${name}`);
}

/**
 * The add-on's own log lines since the reset, as [function, text]; a line that is not a failure
 * carries its level as a third entry.
 */
function logLines() {
  return sdk.logs('Electron').map(({ function: name, format, args, level }) => {
    let next = 0;
    const line = [name, format.replace(/%s/g, () => args[next++])];
    return level === 5 ? line : [...line, level];
  });
}

module.exports = { callNames, logLines, newWrapper, newWrapperWithoutPusher, useFreshSdk };

'use strict';

// Writes the native tables of methods and events from lib/methods.js and lib/events.js, and the
// declarations of the SDK's callbacks from its headers. CMake runs it when it configures; a file that
// would stay the same is left alone, so that nothing is compiled again.
//
// Usage: node tools/generate-native-tables.js FOLDER

const path = require('node:path');
const { EVENTS } = require('../lib/events');
const { METHODS } = require('../lib/methods');
const { macro, writeGenerated } = require('./lib/generated');
const { isListener, sdkInterface } = require('./lib/sdk_interface');

const NAME = /^[a-z]\w*$/;

/** @returns {string[]} the keys of a list @throws {Error} when one cannot be a C++ name */
function namesOf(list) {
  const names = Object.keys(list);
  const bad = names.find((name) => !NAME.test(name));
  if (bad !== undefined) throw new Error(`"${bad}" is not a name`);
  return names;
}

/** A method's handler has its name, with a capital. */
function methodTable() {
  const rows = namesOf(METHODS).map((name) => `${name}, ${name[0].toUpperCase()}${name.slice(1)}`);
  return `// The methods of a LumoLivePushJSWrapper: JavaScript name and handler, in registration order.

#pragma once

${macro('LUMO_METHOD_TABLE', 'METHOD', rows)}
`;
}

/** "onPushStarted" is the constant Event_PushStarted. */
function eventNames() {
  const names = namesOf(EVENTS);
  const constants = names.map(
    (name) => `inline constexpr char Event_${name.slice(2)}[] = "${name}";`,
  );
  /** Rows of the SDK's callbacks that raise an event which carries `keys`. */
  const plain = (object, keys) =>
    names
      .filter((name) => EVENTS[name].raisedBy === object && `${EVENTS[name].carries}` === keys)
      .map((name) => `${EVENTS[name].callback ?? name}, Event_${name.slice(2)}`);
  return `// The names of the events.

#pragma once

namespace LumoLivePushElectronSDK {

// Character arrays rather than std::string: SDK threads may still raise events while the process
// runs its static destructors.
${constants.join('\n')}

}  // namespace LumoLivePushElectronSDK

// The pusher's events without a payload: the SDK's callback, and the constant.
${macro('LUMO_PLAIN_PUSHER_EVENTS', 'EVENT', plain('pusher', ''))}

// The players' events that carry the player only.
${macro('LUMO_PLAIN_PLAYER_EVENTS', 'EVENT', plain('player', 'playerID'))}
`;
}

/** Each callback of the listener interfaces once, as an override. */
function listenerCallbacks() {
  const qualified = (type) => type.replace(/\b(Lumo\w+|String)\b/, 'LumoRtc::$1');
  const types = ({ parameters }) => parameters.map(({ type }) => qualified(type)).join(', ');
  const rows = sdkInterface()
    .classes.filter(isListener)
    .flatMap(({ functions }) => functions)
    .map((one) => `${one.result} ${one.name}(${types(one)}) override;`);
  return `// The callbacks of the SDK's listener interfaces, as members of a class that has all of them.

#pragma once

${['#define LUMO_LISTENER_CALLBACKS', ...new Set(rows)].join(' \\\n  ')}
`;
}

writeGenerated(path.resolve(process.argv[2]), 'tools/generate-native-tables.js', {
  'method_table.h': methodTable(),
  'event_names.h': eventNames(),
  'listener_callbacks.h': listenerCallbacks(),
});

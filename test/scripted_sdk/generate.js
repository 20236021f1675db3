'use strict';

// Writes the parts of the scripted SDK that follow from the SDK's headers: for each operation a
// function that records and answers, for each callback a row that reads and makes it, for each
// record a walk over its fields. CMake runs it when it configures; files that would stay the same
// are left alone, so that nothing is compiled again.
//
// Usage: node test/scripted_sdk/generate.js FOLDER

const path = require('node:path');
const { writeGenerated } = require('../../tools/lib/generated');
const { isListener, sdkInterface } = require('../../tools/lib/sdk_interface');

const { records, classes } = sdkInterface();

/** The objects of the interface by the names that tests give them. */
const OBJECTS = { pusher: 'LumoLivePusher', player: 'LumoLivePlayer', base: 'LumoLiveBase' };

/** Written by hand: they make and end objects. */
const BY_HAND = ['Create', 'destroy'];

const functionsOf = (object) => classes.find(({ name }) => name === OBJECTS[object]).functions;
const parameterList = (parameters) =>
  parameters.map(({ type, name }) => `${type} ${name}`).join(', ');
const argumentList = (parameters) =>
  `Json::object({${parameters.map(({ name }) => `{"${name}", toJson(${name})}`).join(', ')}})`;
const isSetter = ({ parameters }) =>
  parameters.length === 1 && isListener({ name: parameters[0].type.replace('*', '') });

function recordsHeader() {
  const walks = records.map(({ name, fields }) => {
    const visits = fields.map((field) => `    visit("${field.name}", record.${field.name});`);
    return `template <>
struct RecordFields<LumoRtc::${name}> {
  static void visit(auto& record, const auto& visit) {
${visits.join('\n')}
  }
};`;
  });
  return `#pragma once

#include "NimboSdk/LumoLiveDefine.h"

namespace ScriptedSdk {

template <class Record>
struct RecordFields;

${walks.join('\n\n')}

}  // namespace ScriptedSdk
`;
}

function operation(object, one) {
  const { name, result, parameters } = one;
  const call = `call("${object}.${name}", ${argumentList(parameters)})`;
  const body = isSetter(one)
    ? `${call}; listeners.set(${parameters[0].name});`
    : `return Answer<${result}>::to(${call});`;
  return `  ${result} ${name}(${parameterList(parameters)}) override { ${body} }`;
}

function objectClass(object) {
  const own = functionsOf(object).filter(({ name }) => !BY_HAND.includes(name));
  const listeners = own.filter(isSetter).map(({ parameters }) => parameters[0].type.slice(0, -1));
  const title = object[0].toUpperCase() + object.slice(1);
  return `class ${title}Operations : public LumoRtc::${OBJECTS[object]} {
 public:
  using Interface = LumoRtc::${OBJECTS[object]};

${own.map((one) => operation(object, one)).join('\n')}

  ListenerSlots<${listeners.map((name) => `LumoRtc::${name}`).join(', ')}> listeners;

 protected:
  ~${title}Operations() = default;
  virtual Call call(const char* name, Json args) const = 0;
};`;
}

function objectsHeader() {
  return `#pragma once

#include "NimboSdk/LumoLivePlayer.h"
#include "NimboSdk/LumoLivePusher.h"
#include "scripted_sdk/answers.h"
#include "scripted_sdk/listener_slot.h"

namespace ScriptedSdk {

using namespace LumoRtc;

${objectClass('pusher')}

${objectClass('player')}

}  // namespace ScriptedSdk
`;
}

function operationRows() {
  const rows = Object.keys(OBJECTS).flatMap((object) =>
    functionsOf(object).map(({ name, result }) => `operation<${result}>("${object}.${name}"),`),
  );
  return `${rows.join('\n')}\n`;
}

function baseFunctions() {
  const functions = functionsOf('base').map(
    ({ name, result, parameters }) =>
      `${result} LumoLiveBase::${name}(${parameterList(parameters)}) {\n` +
      `  return Answer<${result}>::to(Call("base.${name}", nullptr, ${argumentList(parameters)}));\n}`,
  );
  return `${functions.join('\n\n')}\n`;
}

/** The object whose listener has a callback: the one that the class serves, or the first argument. */
function objectOf(listener, { parameters }) {
  if (listener.includes('Push')) return 'Pusher';
  if (listener.includes('Play')) return 'Player';
  return parameters[0].type === 'LumoLivePusher*' ? 'Pusher' : 'Player';
}

function callbackRows() {
  const rows = classes.filter(isListener).flatMap(({ name: listener, functions }) =>
    functions.map((one) => {
      const object = objectOf(listener, one);
      const names = one.parameters.map(({ name }) => `"${name}"`).join(', ');
      const row = `callback<${object}>(&LumoRtc::${listener}::${one.name}, {${names}})`;
      return `{"${object.toLowerCase()}.${one.name}", ${row}},`;
    }),
  );
  return `${rows.join('\n')}\n`;
}

writeGenerated(path.resolve(process.argv[2]), 'test/scripted_sdk/generate.js', {
  'records.h': recordsHeader(),
  'objects.h': objectsHeader(),
  'operations.inc': operationRows(),
  'base.inc': baseFunctions(),
  'callbacks.inc': callbackRows(),
});

'use strict';

/*
 * Arguments that methods refuse, and the names that their log lines carry.
 */

/** Argument lists for methods that want an object first. */
const NOT_OBJECTS = [[], [5], ['x'], [null], [undefined], [true], [Symbol('s')], [1n]];

/** Argument lists for methods that want a string first. */
const NOT_STRINGS = [[], [5], [null], [undefined], [{}], [Object('x')], [Buffer.from('x')]];

/** Argument lists for methods that want exactly one number. */
const NOT_ONE_NUMBER = [
  ...['5', null, undefined, true, {}, Object(5), 5n].map((value) => [value]),
  [],
  [5, 5],
  [5, undefined],
];

/** The function name in a method's log lines: "startPush" is handled by "StartPush". */
function handlerOf(method) {
  return method[0].toUpperCase() + method.slice(1);
}

module.exports = { NOT_OBJECTS, NOT_STRINGS, NOT_ONE_NUMBER, handlerOf };

'use strict';

const { isListener, sdkInterface } = require('./sdk_interface');

/**
 * The functions of the SDK's interface classes, as its headers declare them: "Class::function".
 * The application implements the callbacks.
 *
 * @returns {{operations: string[], callbacks: string[]}}
 */
function interfaceNames() {
  const { classes } = sdkInterface();
  const names = (some) =>
    some.flatMap((owner) => owner.functions.map(({ name }) => `${owner.name}::${name}`));
  return {
    operations: names(classes.filter((one) => !isListener(one))),
    callbacks: names(classes.filter(isListener)),
  };
}

module.exports = { interfaceNames };

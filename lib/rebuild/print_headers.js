'use strict';

// Prints the folder of the running runtime's headers, for CMake.

const { findHeaders, runningRuntime } = require('./headers');

console.log(findHeaders(runningRuntime()));

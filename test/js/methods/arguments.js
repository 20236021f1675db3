'use strict';

/** The function name in a method's log lines: "startPush" is handled by "StartPush". */
function handlerOf(method) {
  return method[0].toUpperCase() + method.slice(1);
}

module.exports = { handlerOf };

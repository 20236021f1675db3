'use strict';

const { execFileSync } = require('node:child_process');
const fs = require('node:fs');

const ticksPerSecond = Number(execFileSync('getconf', ['CLK_TCK'], { encoding: 'utf8' }));

/** @returns {number} user and system seconds that the process has used so far (proc(5), stat) */
function processorSeconds(pid) {
  const text = fs.readFileSync(`/proc/${pid}/stat`, 'utf8');
  // The name, in brackets, may contain anything.
  const fields = text.slice(text.lastIndexOf(')') + 2).split(' ');
  return (Number(fields[11]) + Number(fields[12])) / ticksPerSecond;
}

module.exports = { processorSeconds };

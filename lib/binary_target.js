'use strict';

const fs = require('node:fs');

const ELF_MACHINES = { 3: 'ia32', 40: 'arm', 62: 'x64', 183: 'arm64', 243: 'riscv64' };
const MACH_O_TYPES = { 16777223: 'x64', 16777228: 'arm64' };
const MACH_O_64 = 0xfeedfacf;
const MACH_O_UNIVERSAL = 0xcafebabe; // big-endian, several architectures in one file

/** @returns {Buffer} the file's first bytes; zeros behind its end */
function firstBytes(file, length) {
  const bytes = Buffer.alloc(length);
  const descriptor = fs.openSync(file, 'r');
  try {
    fs.readSync(descriptor, bytes, 0, length, 0);
  } finally {
    fs.closeSync(descriptor);
  }
  return bytes;
}

/**
 * What a native library was built for, by its header. The dynamic linker itself calls a library
 * for another machine "not found".
 *
 * @param {string} file
 * @returns {{platform: string, arch: string} | undefined} in Node's words; "any" and "unknown" are
 *   possible for `arch`. Undefined when the file is no library of a known format.
 * @throws {Error} when the file cannot be read
 */
function binaryTarget(file) {
  const bytes = firstBytes(file, 20);
  if (bytes.toString('latin1', 0, 4) === '\x7fELF') {
    const machine = bytes[5] === 2 ? bytes.readUInt16BE(18) : bytes.readUInt16LE(18);
    return { platform: 'linux', arch: ELF_MACHINES[machine] ?? 'unknown' };
  }
  if (bytes.readUInt32LE(0) === MACH_O_64) {
    return { platform: 'darwin', arch: MACH_O_TYPES[bytes.readUInt32LE(4)] ?? 'unknown' };
  }
  if (bytes.readUInt32BE(0) === MACH_O_UNIVERSAL) return { platform: 'darwin', arch: 'any' };
  return undefined;
}

module.exports = { binaryTarget };

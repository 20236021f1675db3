'use strict';

const fs = require('node:fs');

// Of the ELF format, 64 bits, little-endian.
const HEADERS_AT = 32; // where in the file header stands where the program headers are
const HEADER_COUNT_AT = 56;
const HEADER_SIZE = 56;
const LOAD = 1;
const DYNAMIC = 2;
const END = 0n;
const NEEDED = 1n;
const STRING_TABLE = 5n;

/**
 * The libraries that an ELF file needs to be loaded, in its own order: the NEEDED entries of its
 * dynamic section.
 *
 * @param {string} file
 * @returns {string[]} names as the dynamic linker looks for them; empty for a file of another format
 * @throws {Error} when the file cannot be read
 */
function neededLibraries(file) {
  const bytes = fs.readFileSync(file);
  const readable = bytes.toString('latin1', 0, 4) === '\x7fELF' && bytes[4] === 2 && bytes[5] === 1;
  return readable ? readNeeded(bytes) : [];
}

function readNeeded(bytes) {
  const segments = programHeaders(bytes);
  const dynamic = segments.find(({ type }) => type === DYNAMIC);
  if (!dynamic) return [];
  const entries = dynamicEntries(bytes.subarray(dynamic.offset, dynamic.offset + dynamic.size));
  const strings = entries.find(({ tag }) => tag === STRING_TABLE);
  const home = segments.find(
    ({ type, address, size }) =>
      type === LOAD && address <= strings.value && strings.value < address + size,
  );
  const stringsAt = strings.value - home.address + home.offset;
  return entries
    .filter(({ tag }) => tag === NEEDED)
    .map(({ value }) => {
      const begin = stringsAt + value;
      return bytes.toString('latin1', begin, bytes.indexOf(0, begin));
    });
}

function programHeaders(bytes) {
  const begin = Number(bytes.readBigUInt64LE(HEADERS_AT));
  return Array.from({ length: bytes.readUInt16LE(HEADER_COUNT_AT) }, (_, index) => {
    const header = bytes.subarray(begin + index * HEADER_SIZE);
    return {
      type: header.readUInt32LE(0),
      offset: Number(header.readBigUInt64LE(8)),
      address: Number(header.readBigUInt64LE(16)),
      size: Number(header.readBigUInt64LE(32)),
    };
  });
}

function dynamicEntries(section) {
  const entries = [];
  for (let at = 0; at + 16 <= section.length; at += 16) {
    const tag = section.readBigUInt64LE(at);
    if (tag === END) break;
    entries.push({ tag, value: Number(section.readBigUInt64LE(at + 8)) });
  }
  return entries;
}

module.exports = { neededLibraries };

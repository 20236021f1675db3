'use strict';

// Reads the output of a running program; an incomplete rest at its end is left out.

/**
 * @param {import('node:stream').Readable} stream
 * @param {(line: string) => void} use called for each line, without its end
 */
function onLines(stream, use) {
  let rest = '';
  stream.setEncoding('utf8').on('data', (text) => {
    const lines = (rest + text).split('\n');
    rest = lines.pop();
    lines.forEach((line) => {
      use(line);
    });
  });
}

/**
 * @param {import('node:stream').Readable} stream
 * @param {number} size bytes
 * @param {(piece: Buffer) => void} use called for each piece of that size
 */
function onPieces(stream, size, use) {
  let rest = Buffer.alloc(0);
  stream.on('data', (data) => {
    rest = Buffer.concat([rest, data]);
    for (; rest.length >= size; rest = rest.subarray(size)) use(rest.subarray(0, size));
  });
}

module.exports = { onLines, onPieces };

'use strict';

/*
 * What compiler and linker made of the native code, read from the files themselves: cmake/
 * Hardening.cmake asks for it.
 */

const assert = require('node:assert/strict');
const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { describe, it } = require('node:test');
const { buildDirectory, isSanitized } = require('../support/build_directory');

// Each file, with a function that it exports.
const FILES = {
  'lumolivepush_electron_sdk.node': /^node_register_module_v\d+$/,
  'NimboSdk.framework/NimboSdk': /^NimboEngineOutputLog$/,
  'examples/plugins/clock_overlay.so': /^createNimboPlugin$/,
  'examples/plugins/colour_adjust.so': /^createNimboPlugin$/,
  'examples/plugins/mirror.so': /^createNimboPlugin$/,
};
const LARGE = Object.keys(FILES).slice(0, 2); // large enough to need each of the checks

const read = (program, ...args) =>
  execFileSync(program, args, { encoding: 'utf8', maxBuffer: 2 ** 28 });
const place = (file) => path.join(buildDirectory, file);

function reasonToSkip() {
  if (isSanitized) return 'sanitizers bring checks of their own';
  const cache = fs.readFileSync(place('CMakeCache.txt'), 'utf8');
  if (/^CMAKE_BUILD_TYPE:STRING=Debug$/m.test(cache)) return 'nothing is optimized';
  return false;
}

describe('the binaries', { skip: reasonToSkip() }, () => {
  for (const [file, exported] of Object.entries(FILES)) {
    it(`${file}: its tables of addresses are bound at once, then read-only`, () => {
      assert.match(read('readelf', '-lW', place(file)), /^ +GNU_RELRO /m);
      assert.match(read('readelf', '-dW', place(file)), /\(FLAGS_1\).*\bNOW\b/);
    });

    it(`${file}: its stack cannot be executed`, () => {
      const stack = /^ +GNU_STACK(?: +0x\S+){5} +(\w+) /m.exec(read('readelf', '-lW', place(file)));
      assert.equal(stack?.[1], 'RW');
    });

    it(`${file}: a function whose stack was overrun does not return`, () => {
      assert.match(read('readelf', '--dyn-syms', '-W', place(file)), / UND __stack_chk_fail/);
    });

    it(`${file}: functions begin with a mark for indirect branches`, (t) => {
      if (process.arch !== 'x64') return t.skip('only x86-64 has them');
      const symbols = read('readelf', '--dyn-syms', '-W', place(file)).matchAll(
        / ([0-9a-f]{16}) +\d+ FUNC +GLOBAL +DEFAULT +\d+ (\S+)$/gm,
      );
      const [, address] = [...symbols].find(([, , name]) => exported.test(name)) ?? [];
      assert.ok(address, 'the function is exported');
      const begin = BigInt(`0x${address}`);
      const range = [`--start-address=${begin}`, `--stop-address=${begin + 4n}`];
      const code = read('objdump', '-d', '--no-show-raw-insn', ...range, place(file));
      assert.match(code, /:\n +[0-9a-f]+:\s+endbr64/);
    });
  }

  for (const file of LARGE) {
    it(`${file}: buffers of known size are checked by the C library`, () => {
      const symbols = read('readelf', '--dyn-syms', '-W', place(file));
      assert.match(symbols, / UND __\w+_chk\b(?<!__stack_chk)/);
    });
  }

  it('the SDK touches each page of a large stack frame', (t) => {
    if (process.arch !== 'x64') return t.skip('the instruction is that of x86-64');
    const code = read('objdump', '-d', '--no-show-raw-insn', place(LARGE[1]));
    assert.match(code, /\bor[ql] +\$0x0,(0x[0-9a-f]+)?\(%rsp\)/);
  });
});

'use strict';

/*
 * What the binaries ask of the system that loads them, so that one build serves Debian 12 and 13
 * and Ubuntu 24.04: only libraries whose names these have in common, and versions of the C and C++
 * libraries that the oldest of them has.
 */

const assert = require('node:assert/strict');
const { execFileSync } = require('node:child_process');
const path = require('node:path');
const { describe, it } = require('node:test');
const { neededLibraries } = require('../../../lib/elf_needed');
const { buildDirectory, isSanitized } = require('../support/build_directory');

const C_AND_CXX = [
  ...['ld-linux-x86-64.so.2', 'libc.so.6', 'libgcc_s.so.1', 'libm.so.6', 'libstdc++.so.6'],
];
const LIBRARIES = {
  'lumolivepush_electron_sdk.node': ['NimboSdk', ...C_AND_CXX],
  'NimboSdk.framework/NimboSdk': [
    ...C_AND_CXX,
    ...['libgio-2.0.so.0', 'libglib-2.0.so.0', 'libgobject-2.0.so.0'],
    ...['libgstapp-1.0.so.0', 'libgstaudio-1.0.so.0', 'libgstbase-1.0.so.0'],
    ...['libgstpbutils-1.0.so.0', 'libgstreamer-1.0.so.0', 'libgstvideo-1.0.so.0'],
    ...['libxcb-composite.so.0', 'libxcb-randr.so.0', 'libxcb-shm.so.0', 'libxcb-xfixes.so.0'],
    ...['libxcb.so.1', 'libpng16.so.16', 'libturbojpeg.so.0'],
  ],
};
// README.md states the C library's.
const NEWEST = { GLIBC: [2, 34], GLIBCXX: [3, 4, 30], CXXABI: [1, 3, 13] };
const COMPILED_IN = /\b(fmt::v\d|webrtc::|WebRtc|nlohmann::|tl::)/;

const place = (file) => path.join(buildDirectory, file);
const symbolsOf = (file) => {
  const options = { encoding: 'utf8', maxBuffer: 2 ** 26 };
  return execFileSync('objdump', ['--dynamic-syms', '--demangle', place(file)], options);
};

/** @returns {number} below zero when a is the older version */
const compare = (a, b) =>
  a.map((part, i) => part - (b[i] ?? 0)).find((difference) => difference !== 0) ?? 0;

function reasonToSkip() {
  if (process.platform !== 'linux' || process.arch !== 'x64') return 'the lists are of Linux x64';
  return isSanitized && 'sanitizers bring libraries of their own';
}

describe('the binaries', { skip: reasonToSkip() }, () => {
  for (const [file, allowed] of Object.entries(LIBRARIES)) {
    it(`${file}: needs only libraries that every supported system has under the same name`, () => {
      const needed = neededLibraries(place(file));
      assert.ok(needed.includes('libc.so.6'));
      assert.deepEqual(
        needed.filter((library) => !allowed.includes(library)),
        [],
      );
    });

    for (const [library, newest] of Object.entries(NEWEST)) {
      it(`${file}: needs no ${library} newer than ${newest.join('.')}`, () => {
        const found = symbolsOf(file).matchAll(new RegExp(`\\b${library}_([\\d.]+)`, 'g'));
        const versions = [...found].map(([, version]) => version.split('.').map(Number));
        assert.notEqual(versions.length, 0);
        assert.deepEqual(
          versions.filter((version) => compare(version, newest) > 0),
          [],
        );
      });
    }

    it(`${file}: exports nothing of the libraries that are compiled in`, () => {
      const exported = symbolsOf(file)
        .split('\n')
        .filter((line) => !line.includes('*UND*') && COMPILED_IN.test(line));
      assert.deepEqual(exported, []);
    });
  }
});

'use strict';

const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');

/**
 * The origin of code that a build's binaries contain or use.
 * @typedef {object} Component
 * @property {string} name for readers
 * @property {string} source address of the project
 * @property {string} package Debian package of its headers and archives
 * @property {string[]} [texts] its notices: DEBIAN and files, relative to the project's root; default
 *   DEBIAN
 */

/** In place of a file: the copyright file of the Debian package. */
const DEBIAN = 'debian';

/** @type {Component[]} compiled in: their notices belong to the binaries */
const COMPILED_IN = [
  { name: '{fmt}', source: 'https://github.com/fmtlib/fmt', package: 'libfmt-dev' },
  {
    name: 'JSON for Modern C++',
    source: 'https://github.com/nlohmann/json',
    package: 'nlohmann-json3-dev',
  },
  {
    name: 'expected',
    source: 'https://github.com/TartanLlama/expected',
    package: 'libexpected-dev',
  },
  {
    name: 'WebRTC Audio Processing',
    source: 'https://freedesktop.org/software/pulseaudio/webrtc-audio-processing/',
    package: 'libwebrtc-audio-processing-dev',
    texts: [DEBIAN, 'tools/notices/fft4g.txt'],
  },
  {
    name: 'Node.js and V8 (inline functions of their headers)',
    source: 'https://github.com/nodejs/node',
    package: 'nodejs', // also where the headers are not Debian's
    texts: ['tools/notices/node.txt', 'tools/notices/v8.txt'],
  },
];

/** Loaded from the system as shared libraries; their headers are C, almost all of it declarations. */
const SHARED = [
  'libglib2.0-dev',
  'libgstreamer1.0-dev',
  'libgstreamer-plugins-base1.0-dev',
  'libpng-dev',
  'libturbojpeg0-dev',
  'libxcb1-dev',
  'libxcb-composite0-dev',
  'libxcb-randr0-dev',
  'libxcb-render0-dev',
  'libxcb-shape0-dev',
  'libxcb-shm0-dev',
  'libxcb-xfixes0-dev',
];

/** Under GCC's runtime library exception, or the system's own interface. */
const TOOLCHAIN = /^(libstdc\+\+-\d+-dev|libgcc-\d+-dev|libc6-dev|linux-libc-dev)$/;

const BINARIES = ['NimboSdk.framework/NimboSdk', 'lumolivepush_electron_sdk.node'];

const ninja = (folder, ...args) =>
  execFileSync('ninja', ['-C', folder, '-t', ...args], { encoding: 'utf8', maxBuffer: 2 ** 28 });

/** The files outside of project and build folder that the shipped binaries were made from. */
function foreignFiles(folder) {
  const commands = ninja(folder, 'commands', ...BINARIES);
  const objects = [...commands.matchAll(/-o (\S+\.o)\b/g)].map(([, object]) => object);
  if (objects.length === 0) throw new Error(`${folder}: nothing is built`);
  const headers = ninja(folder, 'deps', ...objects).match(/^ {4}.+$/gm) ?? [];
  const archives = commands.match(/(?<= )\/\S+\.a(?= |$)/gm) ?? [];
  const [, source] = /^CMAKE_HOME_DIRECTORY:\w+=(.+)$/m.exec(
    fs.readFileSync(path.join(folder, 'CMakeCache.txt'), 'utf8'),
  );
  const isForeign = (file) => !file.startsWith(`${source}/`) && !file.startsWith(`${folder}/`);
  const files = [...headers, ...archives].map((file) => path.resolve(folder, file.trim()));
  return [...new Set(files)].filter(isForeign);
}

/** @returns {Map<string, string>} the packages that own the files, each with one of its files */
function ownersOf(files) {
  const isNodes = (file) => file.includes('/include/node/');
  const owners = new Map(files.filter(isNodes).map((file) => ['nodejs', file]));
  const rest = files.filter((file) => !isNodes(file));
  const lines = execFileSync('dpkg', ['-S', ...rest], { encoding: 'utf8' })
    .trim()
    .split('\n');
  for (const line of lines) {
    const [, name, file] = /^([^:,]+).*?: (.+)$/.exec(line);
    owners.set(name, file);
  }
  return owners;
}

/**
 * Compares the lists above with what the shipped binaries were made from: the headers that the
 * compiler read, and the archives that were linked. Code that was copied into the project's own
 * sources, or that an archive contains from elsewhere, is invisible here.
 *
 * @param {string} folder build folder with built binaries
 * @returns {string[]} one text for each difference
 */
function thirdPartyDefects(folder) {
  const owners = ownersOf(foreignFiles(folder));
  const listed = [...COMPILED_IN.map((component) => component.package), ...SHARED];
  const unlisted = [...owners].filter(([name]) => !listed.includes(name) && !TOOLCHAIN.test(name));
  return [
    ...unlisted.map(([name, file]) => `${name} is compiled in (${file}) but not listed`),
    ...listed.filter((name) => !owners.has(name)).map((name) => `${name} is listed but not used`),
    ...[...owners]
      .filter(([name, file]) => SHARED.includes(name) && file.endsWith('.a'))
      .map(([name, file]) => `${name} is linked statically (${file}) but listed as shared`),
  ];
}

module.exports = { COMPILED_IN, DEBIAN, thirdPartyDefects };

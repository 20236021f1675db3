'use strict';

const { spawnSync } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { neededLibraries } = require('./elf_needed');

/**
 * The packages of Debian and Ubuntu that hold the libraries which the add-on and the default SDK
 * need. Debian 12's: newer releases provide these names too.
 * @type {Record<string, string[]>} libraries by package
 */
const PACKAGES = {
  'libgstreamer1.0-0': ['libgstreamer-1.0.so.0', 'libgstbase-1.0.so.0'],
  'libgstreamer-plugins-base1.0-0': [
    ...['libgstapp-1.0.so.0', 'libgstaudio-1.0.so.0', 'libgstpbutils-1.0.so.0'],
    'libgstvideo-1.0.so.0',
  ],
  'libglib2.0-0': ['libgio-2.0.so.0', 'libglib-2.0.so.0', 'libgobject-2.0.so.0'],
  libxcb1: ['libxcb.so.1'],
  'libxcb-composite0': ['libxcb-composite.so.0'],
  'libxcb-randr0': ['libxcb-randr.so.0'],
  'libxcb-shm0': ['libxcb-shm.so.0'],
  'libxcb-xfixes0': ['libxcb-xfixes.so.0'],
  'libpng16-16': ['libpng16.so.16'],
  libturbojpeg0: ['libturbojpeg.so.0'],
  'libstdc++6': ['libstdc++.so.6'],
  'libgcc-s1': ['libgcc_s.so.1'],
  libc6: ['libc.so.6', 'libm.so.6', 'ld-linux-x86-64.so.2', 'ld-linux-aarch64.so.1'],
};

const PACKAGE_OF = Object.fromEntries(
  Object.entries(PACKAGES).flatMap(([name, libraries]) => libraries.map((each) => [each, name])),
);

/** How the dynamic linker's cache names this process's machine. */
const CACHE_ARCHITECTURE = { x64: 'x86-64', arm64: 'AArch64' }[process.arch];

/** @returns {Set<string>} the libraries in the dynamic linker's cache, and in LD_LIBRARY_PATH */
function installedLibraries() {
  const { stdout } = spawnSync('/sbin/ldconfig', ['-p'], { encoding: 'utf8' });
  if (!stdout) throw new Error("the dynamic linker's cache cannot be read");
  const cached = stdout.split('\n').flatMap((line) => {
    const [, name, kind] = /^\t(\S+) \((.*?)\) =>/.exec(line) ?? [];
    return kind?.includes(CACHE_ARCHITECTURE) ? [name] : [];
  });
  const folders = (process.env.LD_LIBRARY_PATH ?? '').split(':').filter((each) => each !== '');
  const inFolders = folders.flatMap((each) => (fs.existsSync(each) ? fs.readdirSync(each) : []));
  return new Set([...cached, ...inFolders]);
}

/**
 * The libraries that files need and the system lacks.
 *
 * @param {string[]} files ELF files; they find each other, wherever they are
 * @param {Set<string>} [installed] what the system has
 * @returns {{library: string, package?: string}[]} without a package: it is not known which
 * @throws {Error} when a file or the list of installed libraries cannot be read
 */
function missingLibraries(files, installed = installedLibraries()) {
  const own = files.map((file) => path.basename(file));
  const needed = new Set(files.flatMap(neededLibraries));
  return [...needed]
    .filter((library) => !own.includes(library) && !installed.has(library))
    .map((library) => ({ library, package: PACKAGE_OF[library] }));
}

/** @returns {string} the command that installs packages, for a person to run */
function installCommand(packages) {
  const names = [...new Set(packages)].sort().join(' ');
  return `sudo apt-get install --no-install-recommends ${names}`;
}

module.exports = { installCommand, installedLibraries, missingLibraries };

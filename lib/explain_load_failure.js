'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { startupSnapshot } = require('node:v8');
const { isMainThread } = require('node:worker_threads');
const { AddonLoadError } = require('./addon_load_error');
const { binaryTarget } = require('./binary_target');
const { packageRoot } = require('./package_root');
const { installCommand, missingLibraries } = require('./system_libraries');

const PLATFORMS = ['linux', 'darwin'];

/**
 * A failure, as far as it is known.
 * @typedef {object} Failure
 * @property {string} addon the add-on's file
 * @property {string} sdk the file of the SDK beside it
 * @property {string} message the runtime's message; empty when it was not called
 * @property {string} [code] the runtime's own code for it
 */

const root = packageRoot();
const { electron } = process.versions;
const runtime = electron ? `Electron ${electron}` : `Node.js ${process.versions.node}`;
const here = `${process.platform}-${process.arch}`;

/** The developers' folder has what sets up a system too; the package has its own command. */
function buildCommand() {
  if (electron)
    return `npx lumolivepush-electron-sdk rebuild --runtime electron --target ${electron}`;
  return fs.existsSync(path.join(root, 'tools', 'with-setup.sh'))
    ? 'npm run build'
    : 'npx lumolivepush-electron-sdk rebuild';
}

const build = () => `Run "${buildCommand()}".`;

const UNPACK =
  'With electron-builder: "asarUnpack": ["**/node_modules/lumolivepush-electron-sdk/**"]; with ' +
  'Electron Forge: packagerConfig.asar.unpackDir "**/node_modules/lumolivepush-electron-sdk".';

/** @returns {{platform: string, arch: string} | undefined} undefined when it is unknown */
function targetOf(file) {
  try {
    return binaryTarget(file);
  } catch {
    return undefined;
  }
}

/** Returns whether Node's permission model, if enabled, allows a file to be read. */
function mayRead(file) {
  return process.permission?.has('fs.read', file) ?? true;
}

/** The library of another machine among the two, described; undefined when there is none. */
function foreign({ addon, sdk }) {
  for (const file of [addon, sdk]) {
    const target = targetOf(file);
    if (!target) continue;
    const fits =
      target.platform === process.platform && ['any', process.arch].includes(target.arch);
    if (!fits) return `${file} was built for ${target.platform}-${target.arch}, this is ${here}.`;
  }
  return undefined;
}

/** All libraries that are missing where the system can be asked, else the one of the message. */
function librariesMissing({ addon, sdk, message }) {
  const [, named] =
    /([^\s:]+): cannot open shared object file/.exec(message) ??
    /Library not loaded: (\S+)/.exec(message) ??
    /version `([^']+)' not found/.exec(message) ??
    [];
  if (!named) return [];
  try {
    const all = missingLibraries([addon, sdk]);
    if (all.length > 0) return all;
  } catch {
    // Not on this system, or not by this process.
  }
  return [{ library: named }];
}

function describeMissing(failure) {
  const names = librariesMissing(failure).map(({ library }) => library);
  if (names.length === 0) return undefined;
  if (names.length === 1)
    return `the system library ${names[0]}, which it needs, is not installed.`;
  return `${names.length} system libraries that it needs are not installed: ${names.join(', ')}.`;
}

function installMissing(failure) {
  const packages = librariesMissing(failure).flatMap(({ package: name }) => name ?? []);
  return packages.length > 0
    ? `On Debian and Ubuntu: ${installCommand(packages)}`
    : 'Install the packages that hold them.';
}

/**
 * The causes, the first that applies wins. `reason` returns undefined (or false) when the cause
 * does not apply.
 * @type {{code: string, reason: (failure: Failure) => any,
 *   remedy: string | ((failure: Failure) => string)}[]}
 */
const CAUSES = [
  {
    code: 'UNSUPPORTED_PLATFORM',
    reason: () => !PLATFORMS.includes(process.platform) && `there is no build for ${here}.`,
    remedy: `Use one of these platforms: ${PLATFORMS.join(', ')}.`,
  },
  {
    code: 'BUILDING_SNAPSHOT',
    reason: () =>
      startupSnapshot?.isBuildingSnapshot() &&
      'a startup snapshot is being built, which cannot hold native code.',
    remedy: 'Require it when the application has started from the snapshot.',
  },
  {
    code: 'PERMISSION_DENIED',
    reason: ({ addon, sdk }) => {
      const denied = [addon, sdk].find((file) => !mayRead(file));
      return denied && `Node's permission model does not let ${denied} be read.`;
    },
    remedy: `Start Node with --allow-addons and --allow-fs-read=${root}/*.`,
  },
  {
    code: 'ADDONS_DISABLED',
    reason: ({ code }) =>
      code === 'ERR_DLOPEN_DISABLED' &&
      (process.permission
        ? "Node's permission model forbids native add-ons."
        : 'Node was told by --no-addons to load no native add-ons.'),
    remedy: process.permission
      ? 'Start Node with --allow-addons.'
      : 'Start Node without --no-addons; NODE_OPTIONS may hold it too.',
  },
  {
    code: 'INSIDE_ARCHIVE',
    reason: ({ addon }) =>
      addon.includes('app.asar.unpacked') &&
      !fs.existsSync(addon) &&
      `it lies inside an asar archive, from which no native library can be loaded; ${addon} is missing.`,
    remedy: UNPACK,
  },
  {
    code: 'NO_BUILD',
    reason: ({ addon }) =>
      !fs.existsSync(addon) &&
      `there is no build for ${here}, ABI ${process.versions.modules} (${runtime}): ${addon} is missing.`,
    remedy: build,
  },
  {
    code: 'WORKER_THREAD',
    reason: () => !isMainThread && 'this is a worker thread.',
    remedy: 'Require it in the main thread.',
  },
  {
    code: 'WRONG_ARCHITECTURE',
    reason: foreign,
    remedy: () => `Install or build the package on ${here}. ${build()}`,
  },
  {
    code: 'ABI_MISMATCH',
    reason: ({ message }) =>
      /NODE_MODULE_VERSION|symbol.*(2v8|4node|\buv_|\bnode_)/i.test(message) &&
      `it was built for another runtime than ${runtime} (ABI ${process.versions.modules}).`,
    remedy: build,
  },
  {
    code: 'SDK_NOT_FOUND',
    reason: ({ message, sdk }) =>
      message.includes('NimboSdk') &&
      !fs.existsSync(sdk) &&
      `NimboSdk was not found: ${sdk} is missing.`,
    remedy: ({ sdk }) =>
      sdk.includes('app.asar.unpacked')
        ? `It was left inside the asar archive: unpack NimboSdk.framework too. ${UNPACK}`
        : `Put NimboSdk.framework beside the add-on. ${build()}`,
  },
  {
    code: 'SDK_MISMATCH',
    reason: ({ message }) =>
      /symbol.*LumoRtc/i.test(message) && 'NimboSdk is of another version than the add-on.',
    remedy: build,
  },
  {
    code: 'MISSING_LIBRARY',
    reason: describeMissing,
    remedy: installMissing,
  },
  {
    code: 'LOAD_FAILED',
    reason: ({ message }) => `${message}.`,
    remedy: build,
  },
];

/**
 * @param {string} addon the add-on's file
 * @param {string} sdk the SDK's file
 * @param {Error} [cause] what loading threw; nothing when the file is not there
 * @returns {AddonLoadError}
 */
function explainLoadFailure(addon, sdk, cause) {
  const failure = { addon, sdk, message: cause?.message ?? '', code: cause?.code };
  for (const { code, reason, remedy } of CAUSES) {
    const text = reason(failure);
    if (!text) continue;
    const advice = typeof remedy === 'string' ? remedy : remedy(failure);
    return new AddonLoadError({ code, reason: text, remedy: advice, cause });
  }
  throw new Error('unreachable: the last cause always applies');
}

module.exports = { explainLoadFailure };

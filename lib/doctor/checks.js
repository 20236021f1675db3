'use strict';

const { spawnSync } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { sdkFileIn } = require('../binaries');
const { ALTERNATIVES, FEATURES } = require('../elements');
const { installedLibraries, missingLibraries } = require('../system_libraries');
const { hasTls, pluginFolders, pluginState } = require('./plugin_files');

/**
 * One line of the report.
 *
 * @typedef {object} Check
 * @property {string} what
 * @property {'ok' | 'missing' | 'none'} state "none": nothing that streaming needs, such as a camera
 * @property {string} detail
 * @property {string[]} [packages] what to install, where that is known
 */

/** @returns {Check} */
function checkRuntime() {
  const { electron, node, modules } = process.versions;
  const runtime = electron ? `Electron ${electron}` : `Node.js ${node}`;
  const glibc = process.report?.getReport().header.glibcVersionRuntime;
  const system = `${process.platform}-${process.arch}${glibc ? `, glibc ${glibc}` : ''}`;
  return { what: 'runtime', state: 'ok', detail: `${runtime}, ABI ${modules}, ${system}` };
}

/** The missing libraries have a line of their own. */
const describe = ({ code, message }) =>
  code === 'MISSING_LIBRARY' ? 'some of its libraries are missing' : `${code}: ${message}`;

/** @returns {Check[]} of the add-on and of the libraries that it and the SDK need */
function checkBinaries({ addonFile, sdkDirectory, loadError }) {
  const files = [addonFile, sdkFileIn(sdkDirectory)];
  const checks = [
    loadError
      ? { what: 'add-on', state: 'missing', detail: describe(loadError) }
      : { what: 'add-on', state: 'ok', detail: addonFile },
  ];
  if (process.platform !== 'linux' || !files.every((file) => fs.existsSync(file))) return checks;
  const missing = missingLibraries(files);
  return [
    ...checks,
    {
      what: 'libraries',
      state: missing.length > 0 ? 'missing' : 'ok',
      detail: missing.map(({ library }) => library).join(', ') || 'all there',
      packages: missing.flatMap(({ package: name }) => name ?? []),
    },
  ];
}

/** @returns {Check[]} one for each feature */
function checkElements() {
  const folders = pluginFolders();
  const installed = installedLibraries();
  const stateOf = (plugin) => pluginState(plugin, folders, installed);
  return Object.entries(FEATURES).map(([feature, elements]) => {
    const lacking = Object.entries(elements).flatMap(([element, [plugin, name]]) => {
      const state = stateOf(plugin);
      return state === 'ok' ? [] : [{ element, state, name }];
    });
    const isReplaced = ({ element }) =>
      element in ALTERNATIVES && stateOf(ALTERNATIVES[element][1]) === 'ok';
    const bad = lacking.filter((each) => !isReplaced(each));
    const replaced = lacking
      .filter(isReplaced)
      .map(({ element }) => `, ${ALTERNATIVES[element][0]} in place of ${element}`);
    return {
      what: feature,
      state: bad.length > 0 ? 'missing' : 'ok',
      detail:
        bad.map(({ element, state }) => `${element} ${state}`).join(', ') ||
        `${Object.keys(elements).length} GStreamer elements${replaced.join('')}`,
      packages: bad.map(({ name }) => name),
    };
  });
}

/** Where GIO looks for the authorities that it trusts. */
const AUTHORITIES = '/etc/ssl/certs/ca-certificates.crt';

/** @returns {Check} of encrypted connections */
function checkTls() {
  const missing = [
    ...(hasTls() ? [] : [['no TLS', 'glib-networking']]),
    ...(fs.existsSync(AUTHORITIES) ? [] : [['no authorities', 'ca-certificates']]),
  ];
  return {
    what: 'rtmps, https',
    state: missing.length > 0 ? 'missing' : 'ok',
    detail: missing.map(([detail]) => detail).join(', ') || "GIO's TLS",
    packages: missing.map(([, name]) => name),
  };
}

/**
 * What is plugged in, as a process of its own sees it: whatever goes wrong there, this one goes on.
 * @returns {Check[]}
 */
function checkDevices() {
  const script = path.join(__dirname, 'list_devices.js');
  const options = { encoding: 'utf8', timeout: 30_000 };
  const { stdout, signal, status } = spawnSync(process.execPath, [script], options);
  if (status !== 0) {
    const detail = `listing the devices ended with ${signal ?? `exit code ${status}`}`;
    return [{ what: 'devices', state: 'missing', detail }];
  }
  const found = JSON.parse(stdout.slice(stdout.lastIndexOf('\n{') + 1));
  return Object.entries(found).map(([what, names]) => ({
    what,
    state: names.length > 0 ? 'ok' : 'none',
    detail: names.join(', ') || 'none',
  }));
}

/** @returns {Check[]} which services of a desktop this process is told of */
function checkDesktop(env = process.env) {
  const pulse = env.PULSE_SERVER ?? `unix:${env.XDG_RUNTIME_DIR ?? '/nowhere'}/pulse/native`;
  const socket = /^unix:(.*)$/.exec(pulse)?.[1];
  const hasSound = socket === undefined || fs.existsSync(socket);
  const displays = [env.WAYLAND_DISPLAY, env.DISPLAY].filter((name) => name);
  return [
    {
      what: 'sound server',
      state: hasSound ? 'ok' : 'none',
      detail: hasSound ? pulse : 'none: no audio is played, ALSA is captured from',
    },
    {
      what: 'display',
      state: displays.length > 0 ? 'ok' : 'none',
      detail: displays.join(', ') || 'none: no preview window, no screen to share',
    },
  ];
}

module.exports = {
  checkBinaries,
  checkDesktop,
  checkDevices,
  checkElements,
  checkRuntime,
  checkTls,
};

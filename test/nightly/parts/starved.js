'use strict';

// Publishing and playing where the system lacks something. Every case must end by itself, in order,
// within its time; which errors it reports stands in the figures.

const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');
const { startRtmpServer } = require('../../../tools/rtmp/rtmp_server');
const { startDisplay } = require('../../e2e/support/x_display');
const { startSoundServer } = require('../../e2e/support/sound_server');
const { runScenario } = require('../support/scenario');

const SECONDS = 6;
const limit = (...options) => ['prlimit', ...options];

function without(...names) {
  return Object.fromEntries(Object.entries(process.env).filter(([name]) => !names.includes(name)));
}

/** A folder of 64 kB that is full. Needs to be root. */
function fullFolder(folder) {
  const full = path.join(folder, 'full');
  fs.mkdirSync(full);
  execFileSync('mount', ['-t', 'tmpfs', '-o', 'size=64k', 'tmpfs', full]);
  try {
    fs.writeFileSync(path.join(full, 'all'), Buffer.alloc(128 * 1024));
  } catch {
    // as it should be
  }
  return { full, close: () => execFileSync('umount', [full]) };
}

function casesIn(folder, full) {
  const readOnly = path.join(folder, 'read-only');
  fs.mkdirSync(readOnly, { mode: 0o555 });
  // Below some thirty, GLib itself ends the process in order.
  const descriptors = [24, 28, 32, 36, 40, 44, 48, 64].map((count) => ({
    what: `${count} descriptors`,
    launcher: limit(`--nofile=${count}`),
    mayEnd: count < 32,
  }));
  const memory = [900, 1200, 1600].map((mib) => ({
    what: `${mib} MiB of address space`,
    launcher: limit(`--as=${mib * 1024 * 1024}`),
    mayEnd: true,
  }));
  return [
    ...descriptors,
    ...memory,
    { what: 'no HOME', env: without('HOME', 'XDG_CACHE_HOME') },
    { what: 'no runtime directory', env: without('XDG_RUNTIME_DIR') },
    { what: 'HOME that cannot be written', env: { ...process.env, HOME: '/proc' } },
    { what: 'an empty environment', env: { PATH: process.env.PATH } },
    { what: 'a full disk for the log', env: { ...process.env, LOG_FOLDER: full } },
    { what: 'a read-only folder for the log', env: { ...process.env, LOG_FOLDER: readOnly } },
    { what: 'a file in place of the log folder', env: { ...process.env, LOG_FOLDER: '/dev/null' } },
    { what: 'no X server', env: { ...process.env, DISPLAY: ':9999' } },
  ];
}

async function runCase(server, { what, launcher, env, mayEnd }, report) {
  let said;
  const failures = await runScenario('publish_and_play_process.js', [server.url(), `${SECONDS}`], {
    deadlineSeconds: SECONDS + 20,
    launcher,
    env,
    onMessage: (message) => {
      said = message;
    },
  });
  // GLib and Node end a process themselves that has no memory or no descriptors left.
  const ended = mayEnd && failures.length > 0 && !/SIGKILL|SIGSEGV/.test(failures[0]);
  const figures = said
    ? `${said.frames} frames, errors: ${said.errors.join(', ') || 'none'}`
    : failures.join('; ');
  report({ what, figures, failures: ended ? [] : failures });
}

/** Servers that die while they are used. */
async function runWithDyingServers(server, report) {
  const display = await startDisplay(); // DISPLAY names it
  const soundServer = await startSoundServer();
  const env = {
    ...process.env,
    ...Object.fromEntries(
      soundServer.environment('default_output').map((entry) => entry.split(/=(.*)/s).slice(0, 2)),
    ),
  };
  const running = runCase(server, { what: 'X server and sound server die', env }, report);
  await sleep((SECONDS * 1000) / 2);
  await Promise.all([display.stop(), soundServer.stop()]);
  await running;
}

async function run(_options, report) {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'starved-'));
  const server = await startRtmpServer();
  const { full, close } = fullFolder(folder);
  for (const each of casesIn(folder, full)) await runCase(server, each, report);
  await runWithDyingServers(server, report);
  close();
  await server.stop();
  fs.rmSync(folder, { recursive: true });
}

module.exports = { run };

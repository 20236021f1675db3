'use strict';

// Publishing and playing on a system that lacks resources. Every case must end by itself, in order,
// within its time; the figures list its errors.

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
const MIN_FRAMES_PER_SECOND = 5; // of 15, start included
/** The signals with which GLib or Node end a process that has no descriptors or threads left. */
const IN_ORDER = /SIG(ABRT|TRAP)/;
const limit = (...options) => ['prlimit', ...options];

/**
 * The limit of threads applies per user, and not to root: the process runs as an otherwise unused
 * user. Needs to be root.
 */
const UNUSED_USER = 60_999;
const limitThreads = (count) => [
  ...['setpriv', `--reuid=${UNUSED_USER}`, `--regid=${UNUSED_USER}`, '--clear-groups'],
  ...limit(`--nproc=${count}`),
];

/** Debian's libfaketime, which simulates another time of day in a process. */
const FAKETIME = '/usr/lib/x86_64-linux-gnu/faketime/libfaketimeMT.so.1';

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
    // as expected
  }
  return { full, close: () => execFileSync('umount', [full]) };
}

function casesIn(folder, full) {
  const readOnly = path.join(folder, 'read-only');
  fs.mkdirSync(readOnly, { mode: 0o555 });
  // Node itself needs some twenty; the SDK refuses to make a pusher with fewer than 96 left.
  const descriptors = [24, 32, 64, 112, 128, 144, 192].map((count) => ({
    what: `${count} descriptors`,
    launcher: limit(`--nofile=${count}`),
    ends: count < 32 ? IN_ORDER : undefined,
  }));
  // Without memory GLib, V8 and fontconfig end the process, some of them by a crash: the check is
  // that nothing hangs.
  const memory = [900, 1200, 1600].map((mib) => ({
    what: `${mib} MiB of address space`,
    launcher: limit(`--as=${mib * 1024 * 1024}`),
    ends: /SIG(ABRT|ILL|SEGV|TRAP)|exit code/,
  }));
  // Node itself needs eleven. If GStreamer cannot start one later, GLib ends the process in order.
  const threads = [12, 16, 24, 32, 48, 64].map((count) => ({
    what: `${count} threads`,
    launcher: limitThreads(count),
    ends: IN_ORDER,
  }));
  return [
    ...descriptors,
    ...memory,
    ...threads,
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

async function runCase(server, { what, launcher, env, ends, onFrames = () => {} }, report) {
  let said;
  const args = [server.url(), `${SECONDS}`];
  const failures = await runScenario('publish_and_play_process.js', args, {
    deadlineSeconds: SECONDS + 20,
    launcher,
    env,
    onMessage: (message) => {
      said = message;
      onFrames(message.frames);
    },
  });
  const ended = failures.length > 0 && ends?.test(failures[0]);
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

/** The time of day jumps by an hour, and back; playback must continue. */
async function runWithJumpingClock(server, folder, report) {
  const what = 'the time of day jumps by an hour and back';
  const file = path.join(folder, 'clock');
  fs.writeFileSync(file, '+0');
  const env = {
    ...process.env,
    LD_PRELOAD: FAKETIME,
    FAKETIME_TIMESTAMP_FILE: file,
    FAKETIME_NO_CACHE: '1',
    FAKETIME_DONT_FAKE_MONOTONIC: '1',
  };
  let frames = 0;
  const counted = (line) => {
    const few = frames < SECONDS * MIN_FRAMES_PER_SECOND ? [`only ${frames} frames`] : [];
    report({ ...line, failures: [...line.failures, ...few] });
  };
  const running = runCase(server, { what, env, onFrames: (count) => (frames = count) }, counted);
  for (const offset of ['+3600', '-3600', '+0']) {
    await sleep((SECONDS * 1000) / 4);
    fs.writeFileSync(file, offset);
  }
  await running;
}

async function run(_options, report) {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'starved-'));
  const server = await startRtmpServer();
  const { full, close } = fullFolder(folder);
  for (const each of casesIn(folder, full)) await runCase(server, each, report);
  await runWithDyingServers(server, report);
  await runWithJumpingClock(server, folder, report);
  close();
  await server.stop();
  fs.rmSync(folder, { recursive: true });
}

module.exports = { run };

'use strict';

// What a new user meets: a Debian with nothing but Node.js, the packed package, the one command that
// the doctor prints, and a stream to an RTMP server. Needs root, debootstrap and a Debian mirror, and
// some minutes for each release, so it runs on demand.
//
// Usage: node tools/test-bare-system.js TARBALL [RELEASE...]
//   TARBALL  what npm pack has made; RELEASE: bookworm and trixie by default

const { spawn, spawnSync } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { root } = require('./lib/project');
const { fetchRuntime, versions } = require('./lib/runtimes');
const { startRtmpServer } = require('./rtmp/rtmp_server');
const { probeStream } = require('./rtmp/witness');

const MIRROR = process.env.LUMO_DEBIAN_MIRROR ?? 'http://deb.debian.org/debian';
const DOCTOR = ['node', '/app/node_modules/.bin/lumolivepush-electron-sdk', 'doctor'];
const PUBLISHER = `
  const { LivePush } = require('lumolivepush-electron-sdk');
  const live = new LivePush({ extraConfig: { camera: 'test', microphone: 'test' } });
  live.initPusher({ width: 640, height: 360, frameRate: 30 });
  live.startPush(process.argv[2], { timeoutMs: 10_000 }).then(
    () => console.log('on air'),
    ({ message }) => {
      console.log(message);
      process.exit(1);
    },
  );
`;

function run(program, args, options = {}) {
  console.log(`$ ${program} ${args.join(' ')}`);
  const { status, signal, stdout, error } = spawnSync(program, args, {
    encoding: 'utf8',
    stdio: ['ignore', 'pipe', 2],
    maxBuffer: 2 ** 26,
    ...options,
  });
  if (error) throw error;
  return { status: status ?? signal, stdout };
}

function mustRun(program, args, options) {
  const { status, stdout } = run(program, args, options);
  if (status !== 0) throw new Error(`${program}: ${status}\n${stdout}`);
  return stdout;
}

/** The command that runs another inside a system; its mounts end with it. */
const inside = (system, command) => [
  'unshare',
  [
    '--mount',
    'sh',
    '-c',
    `mount -t proc proc "$0/proc" && mount --rbind /dev "$0/dev" &&
    exec chroot "$0" env -i PATH=/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin HOME=/root \\
    DEBIAN_FRONTEND=noninteractive "$@"`,
    system,
    ...command,
  ],
];

/** @returns {Promise<string>} the folder of a bare system with Node.js and the package */
async function makeSystem(release, tarball) {
  const system = path.join(root, 'build', 'bare', release);
  fs.rmSync(system, { recursive: true, force: true });
  mustRun('debootstrap', ['--variant=minbase', release, system, MIRROR], { stdio: 'inherit' });
  const runtime = await fetchRuntime(versions[24]);
  fs.copyFileSync(path.join(runtime, 'bin', 'node'), path.join(system, 'usr/local/bin/node'));
  const application = path.join(system, 'app');
  fs.mkdirSync(application);
  fs.writeFileSync(path.join(application, 'package.json'), '{"private": true}');
  fs.writeFileSync(path.join(application, 'publish.js'), PUBLISHER);
  mustRun('npm', ['install', '--offline', '--no-audit', '--no-fund', tarball], {
    cwd: application,
  });
  return system;
}

/** @returns {number} KiB that a system takes */
const sizeOf = (system) =>
  Number.parseInt(mustRun('du', ['--summarize', '--one-file-system', system]), 10);

/** Installs what the doctor of the package says is missing, by its own command. */
function followDoctor(system) {
  const before = run(...inside(system, DOCTOR));
  console.log(before.stdout);
  if (before.status !== 1) throw new Error('the doctor finds nothing missing on a bare system');
  const [, command] = /^ +sudo (apt-get install .*)$/m.exec(before.stdout) ?? [];
  if (!command) throw new Error('the doctor names no command');

  mustRun(...inside(system, ['apt-get', 'update', '-q']));
  const size = sizeOf(system);
  mustRun(...inside(system, [...command.split(' '), '--yes', '-q']));
  mustRun(...inside(system, ['apt-get', 'clean']));
  console.log(`installed: ${Math.round((sizeOf(system) - size) / 1024)} MiB`);

  const after = run(...inside(system, DOCTOR));
  console.log(after.stdout);
  if (after.status !== 0) throw new Error('the doctor is not content with what it asked for');
}

/** Publishes from inside the system to a server outside, which is asked what arrives. */
async function publish(system) {
  const server = await startRtmpServer();
  const [program, args] = inside(system, ['node', '/app/publish.js', server.url('bare')]);
  const publisher = spawn(program, args, { stdio: ['ignore', 'pipe', 2] });
  try {
    const [line] = await new Promise((resolve) => {
      publisher.stdout.setEncoding('utf8').once('data', (text) => resolve(text.split('\n')));
      publisher.once('exit', (code) => resolve([`the publisher ended with ${code}`]));
    });
    console.log(line);
    if (line !== 'on air') throw new Error(line);
    const report = await probeStream(server.url('bare'), 5);
    console.log(JSON.stringify(report, null, 2));
    if (!report.video || !report.audio) throw new Error('no video or no audio at the server');
  } finally {
    publisher.kill('SIGKILL');
    await server.stop();
  }
}

async function main([tarball, ...releases]) {
  if (!tarball) throw new Error('which tarball?');
  for (const release of releases.length > 0 ? releases : ['bookworm', 'trixie']) {
    console.log(`\n=== ${release}\n`);
    const system = await makeSystem(release, path.resolve(tarball));
    followDoctor(system);
    await publish(system);
    fs.rmSync(system, { recursive: true });
    console.log(`${release}: passed`);
  }
}

main(process.argv.slice(2)).catch((error) => {
  console.error(error.message);
  process.exitCode = 1;
});

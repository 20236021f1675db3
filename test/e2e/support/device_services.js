'use strict';

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');
const { runChild, startChild } = require('../../../tools/rtmp/child');

const VARIABLES = ['HOME', 'PULSE_SERVER', 'XDG_RUNTIME_DIR'];

/**
 * The system's services for cameras and microphones, without hardware: PipeWire with its session
 * manager for cameras, PulseAudio for microphones. This process and its child processes use only
 * these until they are stopped; existing connections to other services stay, so they must be
 * started before the SDK.
 */
async function startDeviceServices() {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'devices-'));
  const before = Object.fromEntries(VARIABLES.map((name) => [name, process.env[name]]));
  const bus = path.join(folder, 'messages');
  const pulseSocket = path.join(folder, 'sound');
  Object.assign(process.env, {
    HOME: folder,
    PULSE_SERVER: `unix:${pulseSocket}`,
    XDG_RUNTIME_DIR: folder,
  });
  const services = [];
  // Not for this process: GLib ends processes whose session bus ends.
  const busAddress = `unix:path=${bus}`;
  const start = (...line) => {
    const service = startChild('env', [`DBUS_SESSION_BUS_ADDRESS=${busAddress}`, ...line]);
    service.process.stdout.resume();
    services.push(service);
    return service;
  };

  await untilThere(
    start('dbus-daemon', '--session', `--address=${busAddress}`, '--nofork', '--nopidfile'),
    bus,
  );
  await untilThere(start('pipewire'), path.join(folder, 'pipewire-0'));
  const manager = start('wireplumber');
  await until(manager, async () => (await listed('Client')).includes('WirePlumber'));
  const daemon = start(
    ...['pulseaudio', '-n', '--daemonize=no', '--exit-idle-time=-1', '--use-pid-file=no'],
    ...['--disallow-exit', '--log-level=error'],
    ...['-L', `module-native-protocol-unix auth-anonymous=1 socket=${pulseSocket}`],
    ...['-L', 'module-null-sink sink_name=loudspeaker rate=48000'],
  );
  await untilThere(daemon, pulseSocket);

  return {
    /**
     * A camera whose frames have one colour.
     *
     * @param {string} id @param {string} name one word
     * @param {number} colour 0xRRGGBB
     * @returns {Promise<{unplug: () => Promise<void>}>}
     */
    async plugCamera(id, name, colour) {
      const argb = (0xff000000 + colour) >>> 0;
      const node = `node.name=${id},node.description=${name}`;
      const camera = start(
        ...['gst-launch-1.0', '-q', 'videotestsrc', 'is-live=true', 'pattern=solid-color'],
        ...[`foreground-color=${argb}`, '!'],
        ...['video/x-raw,format=YUY2,width=640,height=360,framerate=30/1', '!'],
        ...['pipewiresink', 'mode=provide'],
        `stream-properties=p,media.class=Video/Source,media.role=Camera,${node}`,
      );
      await until(camera, async () => (await listed('Node')).includes(id));
      return {
        unplug: async () => {
          await camera.stop();
        },
      };
    },

    /**
     * A microphone that delivers a tone.
     *
     * @param {string} id @param {string} name one word
     * @param {number} frequency Hz
     * @returns {Promise<{unplug: () => Promise<void>}>}
     */
    async plugMicrophone(id, name, frequency) {
      const room = `room_of_${id}`;
      const description = `source_properties=device.description=${name}`;
      const modules = [
        await load('module-null-sink', `sink_name=${room}`, 'rate=48000'),
        await load('module-sine', `sink=${room}`, `frequency=${frequency}`),
        await load(
          ...['module-remap-source', `source_name=${id}`, `master=${room}.monitor`, description],
        ),
      ];
      return {
        unplug: async () => {
          while (modules.length > 0) await pactl('unload-module', modules.pop());
        },
      };
    },

    /**
     * Stops the session manager, which links cameras with their users: they are listed, but cannot
     * be opened.
     */
    stopCameraManager: () => manager.stop(),

    /** Kills the sound server, like a crash. */
    killSound: () => {
      daemon.process.kill('SIGKILL');
      return daemon.ended;
    },

    async stop() {
      for (const service of services.reverse()) await service.stop();
      for (const [name, value] of Object.entries(before)) {
        if (value === undefined) delete process.env[name];
        else process.env[name] = value;
      }
      fs.rmSync(folder, { recursive: true, force: true });
    },
  };
}

/** PipeWire's objects of a type, as text. */
async function listed(type) {
  return String(await runChild('pw-cli', ['ls', type], { deadlineSeconds: 10 }));
}

async function pactl(...args) {
  return String(await runChild('pactl', args, { deadlineSeconds: 10 })).trim();
}

/** @returns {Promise<string>} the module's number */
const load = (...args) => pactl('load-module', ...args);

const untilThere = (service, file) => until(service, async () => fs.existsSync(file));

/** @throws {Error} when the service ends before the condition holds */
async function until(service, condition) {
  let ended;
  service.ended.then((reason) => {
    ended = reason;
  });
  while (!(await condition())) {
    if (ended) throw new Error(ended);
    await sleep(20);
  }
}

module.exports = { startDeviceServices };

'use strict';

// The server's side of RTMP, as far as hostile servers need it: bytes, and the exchange up to an
// accepted stream. The client's messages are not checked.

const { serveTcp } = require('./tcp_server');

const TYPE = {
  setChunkSize: 1,
  abort: 2,
  acknowledgement: 3,
  userControl: 4,
  windowSize: 5,
  peerBandwidth: 6,
  audio: 8,
  video: 9,
  data: 18,
  command: 20,
  aggregate: 22,
};

const u16 = (value) => Buffer.from([value >>> 8, value & 255]);
const u24 = (value) => Buffer.from([(value >>> 16) & 255, (value >>> 8) & 255, value & 255]);
function u32(value) {
  const bytes = Buffer.alloc(4);
  bytes.writeUInt32BE(value >>> 0);
  return bytes;
}

/** A value of AMF0: numbers, texts, booleans, null, and objects of these. */
function amf(value) {
  switch (typeof value) {
    case 'number': {
      const bytes = Buffer.alloc(9);
      bytes.writeDoubleBE(value, 1);
      return bytes;
    }
    case 'boolean':
      return Buffer.from([1, value ? 1 : 0]);
    case 'string':
      return Buffer.concat([Buffer.from([2]), u16(Buffer.byteLength(value)), Buffer.from(value)]);
    default:
      if (value === null) return Buffer.from([5]);
      return Buffer.concat([
        Buffer.from([3]),
        ...Object.entries(value).flatMap(([name, inner]) => [
          u16(Buffer.byteLength(name)),
          Buffer.from(name),
          amf(inner),
        ]),
        Buffer.from([0, 0, 9]),
      ]);
  }
}

/** The basic header of a chunk. @param {number} format 0 to 3 */
function chunkStart(format, chunkStream) {
  if (chunkStream < 64) return Buffer.from([(format << 6) | chunkStream]);
  const rest = chunkStream - 64;
  if (rest < 256) return Buffer.from([format << 6, rest]);
  return Buffer.from([(format << 6) | 1, rest & 255, rest >>> 8]);
}

/** A whole chunk header that begins a message. */
const chunkHeader = ({ chunkStream = 3, timestamp = 0, length, type, stream = 0 }) =>
  Buffer.concat([
    chunkStart(0, chunkStream),
    u24(Math.min(timestamp, 0xffffff)),
    u24(length),
    Buffer.from([type, stream, 0, 0, 0]),
    ...(timestamp >= 0xffffff ? [u32(timestamp)] : []),
  ]);

/** A whole message. @param {number} [options.chunkSize] as announced to the client, at first 128 */
function message(type, body, { chunkSize = 128, chunkStream = 3, timestamp = 0, stream = 0 } = {}) {
  const parts = [chunkHeader({ chunkStream, timestamp, length: body.length, type, stream })];
  for (let at = 0; at === 0 || at < body.length; at += chunkSize) {
    if (at > 0) parts.push(chunkStart(3, chunkStream));
    if (at > 0 && timestamp >= 0xffffff) parts.push(u32(timestamp));
    parts.push(body.subarray(at, at + chunkSize));
  }
  return Buffer.concat(parts);
}

const command = (...values) => message(TYPE.command, Buffer.concat(values.map(amf)));

const control = (type, value) => message(type, u32(value), { chunkStream: 2 });

const ping = message(TYPE.userControl, Buffer.concat([u16(6), u32(1)]), { chunkStream: 2 });

const status = (code, level = 'status') =>
  command('onStatus', 0, null, { level, code, description: code });

const HANDSHAKE_PART = 1536;

async function shakeHands(peer) {
  const hello = await peer.read(1 + HANDSHAKE_PART);
  const own = Buffer.alloc(HANDSHAKE_PART, 7);
  await peer.write(Buffer.concat([Buffer.from([3]), own, hello.subarray(1)]));
  await peer.read(HANDSHAKE_PART);
}

const connected = command('_result', 1, { fmsVer: 'FMS/3,0,1,123' }, { level: 'status' });

/** Runs up to an accepted connection. */
async function acceptConnection(peer) {
  await shakeHands(peer);
  await peer.readUntil('connect');
  await peer.write(connected);
}

/** Runs up to an accepted stream. @param {'push' | 'play'} role */
async function acceptStream(peer, role) {
  await acceptConnection(peer);
  await peer.readUntil('createStream');
  await peer.write(command('_result', 4, null, 1));
  await peer.readUntil(role === 'push' ? 'publish\x00' : 'play\x00');
  await peer.write(status(role === 'push' ? 'NetStream.Publish.Start' : 'NetStream.Play.Start'));
}

/** @param {(peer: object, role: string, index: number) => Promise<void>} script */
const rtmpServer = (script) => (role) =>
  serveTcp(
    (peer, index) => script(peer, role, index),
    (port) => `rtmp://127.0.0.1:${port}/live/stream`,
  );

module.exports = {
  TYPE,
  u16,
  u24,
  u32,
  amf,
  chunkStart,
  chunkHeader,
  message,
  command,
  control,
  ping,
  status,
  shakeHands,
  connected,
  acceptConnection,
  acceptStream,
  rtmpServer,
};

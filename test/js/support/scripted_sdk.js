'use strict';

/*
 * Drives the scripted SDK: what it has recorded, what it shall answer, what it shall fire.
 *
 * The scripted SDK is a NimboSdk for tests. It does nothing by itself. It records every call in
 * order, answers with 0, "" or an empty list unless told otherwise, and calls the listeners that
 * were given to it when a test says so, from threads of its own. One library serves the add-on and
 * this driver, whichever is loaded first. All of it is process-wide: begin each test with reset().
 *
 * Names. An operation is named as in the interface, "startPush", or with its object in front,
 * "pusher.startPush", "player.startPlay", "base.SetLogLevel", which is needed where two objects
 * have one of that name (Create, destroy, setVideoFrameListener). So are callbacks:
 * "onPushStarted", "pusher.onActiveSpeaker", "player.onActiveSpeaker". names() lists both. An
 * unknown name, an unknown field and a value of a wrong type throw.
 *
 * Values. Texts are strings; null is a null pointer, which stays apart from ""; a Buffer stands for
 * bytes that are no valid UTF-8. Pointers are texts as the add-on forms player IDs ("0x…"), or
 * null. Enumerations are numbers.
 *
 * Records. Every record has `seq` (rising through the life of the process), `kind` and `thread`
 * {index, name, js}: `js` tells whether it is the thread that loaded the library.
 *   call    object ("pusher", "player", "base"), name, self (pointer; null for static functions,
 *           the pusher concerned for pusher.destroy), args (by the interface's argument names),
 *           result, fired (results of what onCall() let fire), destroyed (true: the object had
 *           been destroyed before)
 *   log     file, function, line, tag, level, format, args (decoded as the format asks for; lines
 *           tagged "Electron-JS" carry none)
 *   list    name (getCount, getDevice, getSource, release), self, index or result, outOfRange
 *           (true: no such entry), released (true: the list had been released before)
 *   array   name (construct, copy, assign, Add, Clear, destroy), self, from, stream, count
 *   string  name (construct, copy, assign, destroy), self, from, text, bySdk (true: the library's
 *           own doing); only after recordStrings()
 *
 * Answers, by the operation's result:
 *   number  for int, unsigned and enumerations        boolean  for isSupportLiveMode
 *   text    for String; for GetSDKVersion, where null is a null pointer
 *   null    for Create: it fails ("new" lets it succeed again)
 *   list    for the device lists and the screen sources: an array of {deviceName, deviceId,
 *           transportType} or {sourceId, sourceName}, or {entries: […], counts: […]}, where each ask
 *           for the count takes the next of `counts` and the last one stays; null is a null pointer
 *   record  for getScreenShareEncoderConfiguration: any of its fields, 0 for the others
 *
 * Fires. A fire is {callback, thread, target, through, …arguments}:
 *   thread   name of a native thread, made on demand and kept; null for the calling thread; "sdk"
 *            when left out
 *   target   the pusher or player whose listener is called; the newest living one when left out
 *   through  "current" (when left out), or "last": the last listener that was set, though it may
 *            have been detached
 * The arguments have the names of the callback's parameters in the SDK's headers; the fields of a
 * record that is passed by value stand among them. All are optional but `frame`: numbers are 0 and
 * texts "" when left out, and `pusher` and `player` the target itself. A frame callback also takes
 * `readBack`.
 * A frame is {width, height, strideY, strideU, strideV, fill, size}: tight strides when left out;
 * `fill` is a number for every byte, {gradient: seed}, a Buffer, or null for a frame without
 * pixels; `size` overrides the buffer's size. frameBytes() gives the bytes that it stands for.
 * Texts, volume records and pixels are overwritten and freed as soon as the callback has returned,
 * but statistics texts stay.
 * The result is {delivered, reason, result, frame}: `reason` ("no pusher", "no player", "no
 * listener") when it was not delivered, `result` what a frame callback returned, and with readBack
 * `frame`: the record as it was left, `dataMoved`, and the pixels in `bytes`.
 */

const { loadNative } = require('./build_directory');

/**
 * @typedef {{callback: string, thread?: string|null, target?: string, through?: 'current'|'last',
 *   [argument: string]: any}} Fire
 * @typedef {{delivered: boolean, reason?: string, result?: boolean, frame?: any}} FireResult
 * @typedef {{width: number, height: number, strideY?: number, strideU?: number, strideV?: number,
 *   fill?: number|{gradient: number}|Buffer|null, size?: number}} Frame
 */

const native = loadNative('scripted_sdk_control.node');

/** JSON.stringify calls toJSON first, so the Buffer itself is only to be had from the holder. */
function encodeBytes(key, value) {
  const original = this[key];
  return Buffer.isBuffer(original) ? { hex: original.toString('hex') } : value;
}

function decodeBytes(_key, value) {
  const isBytes =
    value !== null && typeof value.hex === 'string' && Object.keys(value).length === 1;
  return isBytes ? Buffer.from(value.hex, 'hex') : value;
}

function ask(op, request = {}) {
  const text = native.control(JSON.stringify({ op, ...request }, encodeBytes));
  const { value, error } = JSON.parse(text, decodeBytes);
  if (error !== undefined) throw new Error(`scripted SDK: ${error}`);
  return value;
}

/** @returns {{operations: string[], callbacks: string[]}} every name that the driver knows */
function names() {
  return ask('names');
}

/** Forgets records, answers and hooks. Objects that are alive stay usable. */
function reset() {
  ask('reset');
}

/** Forgets the records only. */
function forget() {
  ask('forget');
}

/** @returns {any[]} all records, in order */
function records() {
  return ask('records');
}

/**
 * @param {string} [filter] an object ("pusher") or an operation ("startPush", "player.Create")
 * @returns {any[]} the recorded calls
 */
function calls(filter) {
  const namesOf = (call) => [call.object, call.name, `${call.object}.${call.name}`];
  if (filter !== undefined) {
    const known = names().operations.some((whole) => {
      const [object, name] = whole.split('.');
      return namesOf({ object, name }).includes(filter);
    });
    if (!known) throw new Error(`scripted SDK: no operation or object '${filter}'`);
  }
  return records().filter(
    (record) =>
      record.kind === 'call' && (filter === undefined || namesOf(record).includes(filter)),
  );
}

function ofKind(kind, name) {
  return records().filter(
    (record) => record.kind === kind && (name === undefined || record.name === name),
  );
}

/** @returns {any[]} the recorded log lines, of one `tag` if given */
function logs(tag) {
  return ofKind('log').filter((line) => tag === undefined || line.tag === tag);
}

/** @returns {any[]} what was done with device lists and source lists, of one `name` if given */
function lists(name) {
  return ofKind('list', name);
}

/** @returns {any[]} what was done with mix-stream arrays, of one `name` if given */
function arrays(name) {
  return ofKind('array', name);
}

/** @returns {any[]} what was done with Strings since recordStrings(), of one `name` if given */
function strings(name) {
  return ofKind('string', name);
}

/** Records the life of every String from now on, until the next reset. */
function recordStrings(on = true) {
  ask('recordStrings', { on });
}

/**
 * What is alive now, whatever was reset.
 * @returns {{strings: number, arrays: number, screenLists: number, pushers: string[],
 *   players: string[]}} counts, and pointers from the oldest to the newest
 */
function alive() {
  return ask('alive');
}

/**
 * @returns {number} how many calls of pushers, players and source lists have come after their end,
 *   through the life of the process
 */
function lateCalls() {
  return ask('lateCalls');
}

/** Lets `operation` answer `value` until the next reset. */
function answer(operation, value) {
  ask('answer', { operation, answers: [value] });
}

/** Queues answers, one for each of the next calls of `operation`. */
function answerOnce(operation, ...values) {
  ask('answer', { operation, answers: values, once: true });
}

/**
 * Lets the next calls of `operation` make `fires`, in order, before they take effect and answer.
 * The call does not return before each of them has returned.
 * @param {string} operation
 * @param {Fire[]} fires
 * @param {{times?: number}} [options] how many calls, 1 when left out
 */
function onCall(operation, fires, { times = 1 } = {}) {
  ask('onCall', { operation, fires, times: Math.min(times, 2 ** 31 - 1) });
}

/**
 * Makes a callback and waits until it has returned.
 * @param {string} callback
 * @param {Omit<Fire, 'callback'>} [options]
 * @returns {FireResult}
 */
function fire(callback, options = {}) {
  return ask('fire', { fire: { callback, ...options } });
}

/**
 * Lets several native threads fire at once, without waiting for them. No thread begins before all
 * are ready.
 * @param {number} threads how many
 * @param {string|((thread: number, repetition: number) => Omit<Fire, 'thread'>)} what a callback's
 *   name, or a function that gives the fire of each thread and repetition
 * @param {{times?: number}} [options] fires of each thread, 1 when left out
 * @returns {number} a ticket for collect()
 */
function startFrom(threads, what, { times = 1 } = {}) {
  const fireOf = typeof what === 'string' ? () => ({ callback: what }) : what;
  const lanes = Array.from({ length: threads }, (_, thread) => ({
    thread: `burst-${thread}`,
    fires: Array.from({ length: times }, (__, repetition) => fireOf(thread, repetition)),
  }));
  return ask('start', { lanes });
}

/**
 * Waits until the threads of a startFrom() have returned.
 * @param {number} ticket
 * @returns {FireResult[][]} results by thread and repetition
 */
function collect(ticket) {
  return ask('collect', { ticket });
}

/** startFrom() and collect() in one. */
function fireFrom(threads, what, options) {
  return collect(startFrom(threads, what, options));
}

/** Waits until no native thread has anything left to fire. */
function settle() {
  ask('settle');
}

/**
 * @param {Buffer} buffer
 * @returns {string} the pointer that the SDK sees when it is given `buffer` as a view
 */
function addressOf(buffer) {
  return native.addressOf(buffer);
}

function planesOf({ width, height, strideY = width, strideU, strideV }) {
  const halfWidth = Math.trunc((width + 1) / 2);
  const rows = Math.max(height, 0);
  const halfRows = Math.trunc((rows + 1) / 2);
  return [
    { rows, stride: Math.max(strideY, 0) },
    { rows: halfRows, stride: Math.max(strideU ?? halfWidth, 0) },
    { rows: halfRows, stride: Math.max(strideV ?? halfWidth, 0) },
  ];
}

/**
 * The pixels of a frame as fire() will make them: Y, U and V behind one another, every row as long
 * as its stride. Byte (plane p, row r, column c) of a gradient is seed + 61p + 7r + 3c, modulo 256.
 * @param {Frame} frame
 * @returns {Buffer|null}
 */
function frameBytes(frame) {
  const { fill = 0 } = frame;
  if (fill === null) return null;
  const planes = planesOf(frame);
  const natural = planes.reduce((sum, { rows, stride }) => sum + rows * stride, 0);
  const bytes = Buffer.alloc(frame.size ?? natural, typeof fill === 'number' ? fill : 0);
  if (Buffer.isBuffer(fill)) fill.copy(bytes);
  if (fill.gradient === undefined) return bytes;
  let at = 0;
  planes.forEach(({ rows, stride }, plane) => {
    for (let row = 0; row < rows; ++row) {
      for (let column = 0; column < stride && at < bytes.length; ++column) {
        bytes[at++] = fill.gradient + 61 * plane + 7 * row + 3 * column;
      }
    }
  });
  return bytes;
}

module.exports = {
  names,
  reset,
  forget,
  records,
  calls,
  logs,
  lists,
  arrays,
  strings,
  recordStrings,
  alive,
  lateCalls,
  answer,
  answerOnce,
  onCall,
  fire,
  startFrom,
  collect,
  fireFrom,
  settle,
  addressOf,
  frameBytes,
};

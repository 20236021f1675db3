'use strict';

const { once } = require('node:events');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');
const { startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { probeStream, saveImage } = require('../../tools/rtmp/witness');
const { FrameCount } = require('./frame_count');
const { Guests } = require('./guests');
const { PusherSession } = require('./live_session');
const { savePreview } = require('./frame_image');

const PREVIEW_FILE = path.resolve('first-stream-preview.png');
const REMOTE_FILE = path.resolve('first-stream-remote.png');
const CONNECT_SECONDS = 10;

/**
 * @typedef {object} Report
 * @property {boolean} seen whether FFmpeg received the stream's video from the server
 * @property {string[]} errors what went wrong
 * @property {{camera: string, microphone: string}} [sources]
 * @property {{name: string, seconds: number, payload?: object}[]} events seconds since the start
 * @property {import('./frame_count').FrameTotals} [frames]
 * @property {import('../../tools/rtmp/witness').StreamReport} [witness] what FFmpeg measured
 * @property {string[]} images the files written
 */

/**
 * Runs one stream, from the start of a server of its own to the end. Never rejects: errors are in
 * the report.
 *
 * @param {import('./options').Options} options
 * @param {import('./progress').Progress} progress
 * @param {AbortSignal} interruption ends the stream early
 * @returns {Promise<Report>}
 */
async function firstStream({ seconds, input, plugins, mix }, progress, interruption) {
  const report = { seen: false, errors: [], events: [], images: [] };
  let server;
  let session;
  let guests;
  try {
    report.sources = await chooseSources(input);
    server = await startRtmpServer();
    progress.say(`RTMP server at ${server.url()}`);
    session = new PusherSession(report.sources, plugins);
    report.events = session.events;
    if (input === 'camera') report.sources = session.requireDevices();
    session.on('event', (event) => progress.event(event));
    session.on('failure', (text) => report.errors.push(text));
    if (input === 'screen') progress.say(`sharing "${session.shareScreen()}"`);
    if (mix) {
      guests = new Guests(server);
      await guests.join(session);
    }
    await stream(session, server, { seconds, progress, interruption, report });
  } catch (error) {
    if (report.errors.length === 0) report.errors.push(error.message);
  }
  await session?.stop();
  await guests?.stop();
  await server?.stop();
  if (session?.lastFrame) {
    savePreview(session.lastFrame, PREVIEW_FILE);
    report.images.push(PREVIEW_FILE);
  }
  return report;
}

/**
 * Maps the input to the SDK's settings.
 *
 * @param {string} input
 */
async function chooseSources(input) {
  if (input === 'test' || input === 'screen') return { camera: 'test', microphone: 'test' };
  if (input === 'camera') return { camera: '', microphone: 'default' };
  const { video, audio } = await probeStream(input, 1);
  if (!video) throw new Error(`${input} has no video`);
  return { camera: `file:${input}`, microphone: audio ? 'file' : 'test' };
}

/** Streams until the time has passed, a failure (then it rejects) or the interruption. */
async function stream(session, server, { seconds, progress, interruption, report }) {
  const failed = once(session, 'failure').then(([text]) => Promise.reject(new Error(text)));
  const interrupted = interruption.aborted ? Promise.resolve() : once(interruption, 'abort');
  const pushed = once(session, 'onFirstFramePushed').then(() => true);

  const timeOver = sleep(seconds * 1000);
  session.start(server.url());
  const connecting = sleep(CONNECT_SECONDS * 1000);
  if (!(await Promise.race([pushed, connecting, interrupted, failed]))) {
    throw new Error('The push did not start');
  }
  const count = new FrameCount(server.url());
  const following = progress.follow(session, server, count);
  try {
    const observed = observe(server.url(), seconds, report);
    await Promise.race([Promise.all([timeOver, observed]), interrupted, failed]);
  } finally {
    clearInterval(following);
    await count.stop();
    report.frames = count.totals(session.deliveries);
  }
}

/** Measures the stream at the server with FFmpeg for a few seconds. */
async function observe(url, seconds, report) {
  const [witness] = await Promise.all([
    probeStream(url, Math.min(5, seconds - 3)),
    saveImage(url, REMOTE_FILE),
  ]);
  report.witness = witness;
  report.seen = witness.video !== undefined;
  report.images.push(REMOTE_FILE);
}

module.exports = { firstStream };

'use strict';

const { once } = require('node:events');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');
const { PusherSession } = require('./live_session');
const { savePreview } = require('./frame_image');
const { figureText } = require('./report');

const PLAYED_FILE = path.resolve('first-stream-played.png');

/**
 * @typedef {object} PlayReport
 * @property {boolean} seen whether frames arrived
 * @property {string[]} errors texts of errors
 * @property {{name: string, seconds: number, payload?: object}[]} events seconds since the start
 * @property {number} frames how many were delivered
 * @property {object} [figures] the last "onPlayerStatistics"
 * @property {string[]} images the files written
 */

/**
 * Plays a stream until the time has passed, the stream ends or fails (see the report), or the
 * interruption. Never rejects.
 *
 * @param {import('./options').Options} options
 * @param {import('./progress').Progress} progress
 * @param {AbortSignal} interruption
 * @returns {Promise<PlayReport>}
 */
async function playStream({ play, seconds }, progress, interruption) {
  const report = { seen: false, errors: [], events: [], frames: 0, images: [] };
  let session;
  let newest;
  try {
    session = new PusherSession({}, []);
    report.events = session.events;
    session.on('event', (event) => progress.event(event));
    session.on('failure', (text) => report.errors.push(text));
    session.on('onPlayerStatistics', (figures) => {
      report.figures = figures;
      progress.status(`${session.seconds.toFixed(2).padStart(7)} s  ${figureText(figures)}`);
    });
    session.on('played', (frame) => {
      newest = frame;
      report.frames += 1;
    });
    const over = [once(session, 'failure'), once(session, 'onPlayStopped'), sleep(seconds * 1000)];
    session.play(play);
    if (!interruption.aborted) await Promise.race([...over, once(interruption, 'abort')]);
  } catch (error) {
    report.errors.push(error.message);
  }
  await session?.stop();
  if (newest) {
    savePreview(newest, PLAYED_FILE);
    report.seen = true;
    report.images.push(PLAYED_FILE);
  }
  return report;
}

module.exports = { playStream };

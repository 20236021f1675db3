'use strict';

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { makeCertificate } = require('../../e2e/support/certificate');
const { clipOf } = require('./clips');
const { measureStartup } = require('./ffmpeg_reference');
const { judge } = require('./judge');
const { readMedia } = require('./media');
const { openOurPlayer } = require('./our_player');
const { playWithReference } = require('./reference');
const { hasAudioServer, startAudioServer } = require('./audio_monitor');

const SECONDS = 4; // of each stream: one to settle, three to be counted
const TIMEOUT_SECONDS = 20;

/**
 * Resources shared by all rows: a certificate, the reference's start-up time.
 *
 * @param {object} options
 * @param {Set<string>} options.peers the installed optional peers
 * @param {import('./judge').Allowance} [options.allowance] for a busy machine
 */
async function openSuite({ peers, allowance = {} }) {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'interop-'));
  const shared = {
    ...{ peers, allowance },
    hasAudioServer: await hasAudioServer(),
    identity: await makeCertificate(folder),
    startupMs: await measureStartup(),
    warmUpClip: await clipOf(readMedia('h264 + aac')),
  };
  return {
    /** Plays one row; several may run concurrently. Never rejects. */
    run: (row) => runRow(row, shared),
    close() {
      fs.rmSync(folder, { recursive: true, force: true });
    },
  };
}

/** @returns {Promise<import('./judge').Result>} never rejects */
async function runRow(row, shared) {
  const startedAt = performance.now();
  const atEnd = [];
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'interop-row-'));
  const { file } = shared.identity;
  const context = {
    folder,
    identity: shared.identity,
    identityFiles: { cert: file, key: path.join(path.dirname(file), 'key.pem') },
    atEnd: (action) => atEnd.unshift(action),
  };
  let result;
  try {
    result = await playRow(row, shared, context);
  } catch (error) {
    result = {
      result: 'failed',
      reasons: [`the row itself: ${error.message}`],
      remarks: [],
      ours: {},
      reference: {},
    };
  }
  for (const action of atEnd) await action();
  fs.rmSync(folder, { recursive: true, force: true });
  return { ...result, seconds: Math.round((performance.now() - startedAt) / 100) / 10 };
}

async function playRow(row, shared, context) {
  const media = readMedia(row.media);
  await clipOf(media);
  const audioServer = shared.hasAudioServer ? await startAudioServer() : undefined;
  context.atEnd(() => audioServer?.stop());
  const [player, source] = await Promise.all([
    openOurPlayer(audioServer?.env ?? {}, shared.warmUpClip, shared.identity.file),
    row.route.start(media, context),
  ]);
  context.atEnd(() => player.stop());
  const { video } = media;
  const order = {
    url: source.url,
    seconds: SECONDS,
    timeoutSeconds: TIMEOUT_SECONDS,
    media: { video: Boolean(video), upright: !video?.rotation, interlaced: Boolean(video?.fields) },
  };
  const options = {
    ...{ seconds: SECONDS, timeoutSeconds: TIMEOUT_SECONDS, startupMs: shared.startupMs },
    hasFfmpeg8: shared.peers.has('node-av'),
    newest: (row.route.needs ?? []).includes('node-av'),
  };
  const play = async () => {
    const ours = await player.play(order);
    return { ours, audible: audioServer?.between(ours.startedAt, ours.startedAt + ours.endMs) };
  };
  const { ours, audible, reference } = await playBoth(play, source, media, options);
  const { firstFrameMs = 0, silenceMs } = shared.allowance;
  const allowance = { firstFrameMs: firstFrameMs + (source.allowanceMs ?? 0), silenceMs };
  return judge(media, ours, audible, reference, allowance);
}

/** Starts both at the same time, unless the source serves one player at a time. */
async function playBoth(play, source, media, options) {
  const startReference = () => {
    let onStart;
    const started = new Promise((resolve) => {
      onStart = resolve;
    });
    const reopen = source.again ?? (async () => source);
    const report = playWithReference(reopen, media, { ...options, onStart });
    return { started: Promise.race([started, report]), report };
  };
  let reference;
  if (!source.again) {
    reference = startReference();
    await reference.started;
  }
  const played = await play();
  reference ??= startReference();
  return { ...played, reference: await reference.report };
}

module.exports = { openSuite };

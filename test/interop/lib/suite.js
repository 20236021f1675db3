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
const { hasSoundSystem, startSoundSystem } = require('./sound');

const SECONDS = 4; // of each stream: one to settle, three to be counted
const TIMEOUT_SECONDS = 20;

/**
 * Runs rows, some at a time.
 *
 * @param {import('../rows').Row[]} rows
 * @param {object} options
 * @param {number} options.jobs how many rows at a time
 * @param {Set<string>} options.peers the optional peers that are there
 * @param {(row: import('../rows').Row, result: import('./judge').Result) => void} options.onResult
 */
async function runRows(rows, { jobs, peers, onResult }) {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'interop-'));
  const sound = (await hasSoundSystem()) ? await startSoundSystem(jobs) : undefined;
  try {
    const shared = {
      peers,
      sound,
      identity: await makeCertificate(folder),
      startupMs: await measureStartup(),
      warmUpClip: await clipOf(readMedia('h264 + aac')),
    };
    const waiting = [...rows];
    const work = async (slot) => {
      for (let row = waiting.shift(); row; row = waiting.shift()) {
        onResult(row, await runRow(row, { ...shared, slot }));
      }
    };
    await Promise.all(Array.from({ length: jobs }, (_, slot) => work(slot)));
  } finally {
    await sound?.stop();
    fs.rmSync(folder, { recursive: true, force: true });
  }
}

/** @returns {Promise<import('./judge').Result>} never rejects */
async function runRow(row, shared) {
  const begun = performance.now();
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
      ours: {},
      reference: {},
    };
  }
  for (const action of atEnd) await action();
  fs.rmSync(folder, { recursive: true, force: true });
  return { ...result, seconds: Math.round((performance.now() - begun) / 100) / 10 };
}

async function playRow(row, shared, context) {
  const media = readMedia(row.media);
  await clipOf(media);
  const environment = shared.sound?.environment(shared.slot) ?? {};
  const [player, source] = await Promise.all([
    openOurPlayer(environment, shared.warmUpClip, shared.identity.file),
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
  // Both begin at the same time, unless the source serves one player at a time.
  const reopen = source.again ?? (() => source.reference ?? source);
  let reference = source.again ? undefined : playWithReference(reopen, media, options);
  const ours = await player.play(order);
  const heard = shared.sound
    ?.recorder(shared.slot)
    .heard(ours.startedAt, ours.startedAt + ours.endMs);
  shared.sound?.check();
  reference ??= playWithReference(reopen, media, options);
  return judge(media, ours, heard, await reference, source.allowanceMs ?? 0);
}

module.exports = { runRows };

'use strict';

// Runs the fuzz targets of build/fuzz, one after the other. Their corpus is kept in
// build/fuzz/corpus, for the next run; an input that crashes a target is stored in
// build/fuzz/findings. Ends with a table. The exit code is 0 when there was no such input.
//
// Usage: node tools/fuzz.js [--seconds N | --minutes N] [TARGET...]
//   --seconds N  for how long each target runs, default 20
//   --minutes N  for how long all of them run together

const fs = require('node:fs');
const path = require('node:path');
const { parseArgs } = require('node:util');
const { buildFolder, root } = require('./lib/project');
const { run } = require('./lib/run');
const { count, endWith, runStages } = require('./lib/tally');

const seeds = path.join(root, 'test/fuzz/corpus');
const build = buildFolder('fuzz');
// A target that runs longer than its time by this much is killed.
const GRACE_SECONDS = 60;

/** Options of single targets. */
const OPTIONS = {
  // A whole, if short, stream.
  play_flv: ['-max_len=8192', '-timeout=20'],
  play_media: ['-max_len=8192', '-timeout=20'],
  play_rtsp: ['-max_len=4096', '-timeout=20'],
};
// GStreamer and GLib keep memory of their own.
const USING_GSTREAMER = ['flv_demux', 'flv_tag', 'play_flv', 'play_media', 'play_rtsp'];

const environment = (target) => ({
  ASAN_OPTIONS: `detect_leaks=${USING_GSTREAMER.includes(target) ? 0 : 1}`,
  UBSAN_OPTIONS: 'print_stacktrace=1:halt_on_error=1:abort_on_error=1',
  // GLib's own allocator would hide reads of freed memory.
  G_SLICE: 'always-malloc',
});

function readArguments() {
  const { values, positionals } = parseArgs({
    options: { seconds: { type: 'string' }, minutes: { type: 'string' } },
    allowPositionals: true,
  });
  const [unit, text] = values.minutes
    ? ['minutes', values.minutes]
    : ['seconds', values.seconds ?? '20'];
  const number = Number(text);
  if (!Number.isInteger(number) || number < 1) {
    throw new Error(`--${unit} ${text}: expected a whole number from 1 on`);
  }
  const known = fs.readdirSync(seeds).sort();
  const unknown = positionals.find((name) => !known.includes(name));
  if (unknown) throw new Error(`${unknown}: expected one of ${known.join(', ')}`);
  const targets = positionals.length > 0 ? positionals : known;
  const seconds = values.minutes ? Math.ceil((number * 60) / targets.length) : number;
  return { seconds, targets };
}

/** @type {string[]} a line of the table for each target that has run */
const table = [
  '| target | seconds | inputs | features | kept | result |',
  '|---|--:|--:|--:|--:|---|',
];

/** @param {import('./lib/tally').Tally} tally */
async function fuzz(tally, target, seconds) {
  const learnt = path.join(build, 'corpus', target);
  const findings = path.join(build, 'findings', target);
  for (const folder of [learnt, findings]) fs.mkdirSync(folder, { recursive: true });
  const { ok, output, reason } = await run(
    path.join(build, 'test/fuzz', `fuzz_${target}`),
    [
      ...[`-max_total_time=${seconds}`, `-artifact_prefix=${findings}/`, '-print_final_stats=1'],
      ...(OPTIONS[target] ?? []),
      ...[learnt, path.join(seeds, target)],
    ],
    { env: environment(target), capture: true, deadlineSeconds: seconds + GRACE_SECONDS },
  );
  const inputs = Number(output.match(/stat::number_of_executed_units:\s*(\d+)/)?.[1] ?? 0);
  const features = output.match(/ft: (\d+)(?![\s\S]*ft: )/)?.[1] ?? '-';
  const kept = fs.readdirSync(learnt).length;
  const result = ok ? 'ok' : reason;
  table.push(`| ${target} | ${seconds} | ${inputs} | ${features} | ${kept} | ${result} |`);
  console.log(`${inputs} inputs`);
  if (!ok) console.log(output.slice(-10_000));
  const hint = `see build/fuzz/findings/${target}; mend it and add the input to the corpus`;
  count(tally, ok && inputs > 0, `${target}: ${ok ? 'no input was tried' : `${reason}; ${hint}`}`);
}

async function main() {
  const { seconds, targets } = readArguments();
  const ok = await runStages(
    targets.map((target) => ({ name: target, run: (tally) => fuzz(tally, target, seconds) })),
  );
  console.log(`\n${table.join('\n')}`);
  return ok;
}

endWith(main);

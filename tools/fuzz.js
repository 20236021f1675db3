'use strict';

// Runs the fuzz targets of build/fuzz, one after the other. What they learn stays in
// build/fuzz/corpus, for the next run; an input that a target does not survive goes to
// build/fuzz/findings. The exit code is 0 when there was none.
//
// Usage: node tools/fuzz.js [--seconds N] [TARGET...]
//   --seconds N  for how long each target runs, default 20

const fs = require('node:fs');
const path = require('node:path');
const { parseArgs } = require('node:util');
const { buildFolder, root } = require('./lib/project');
const { run } = require('./lib/run');
const { count, runStages } = require('./lib/tally');

const seeds = path.join(root, 'test/fuzz/corpus');
const build = buildFolder('fuzz');
// Beyond it, a target that hangs is ended.
const PATIENCE_SECONDS = 60;

/** What is particular to single targets. */
const OPTIONS = {
  play_flv: ['-max_len=8192', '-timeout=20'], // a whole, if short, stream
};
// GStreamer and GLib keep memory of their own.
const USING_GSTREAMER = ['flv_demux', 'flv_tag', 'play_flv'];

const environment = (target) => ({
  ASAN_OPTIONS: `detect_leaks=${USING_GSTREAMER.includes(target) ? 0 : 1}`,
  UBSAN_OPTIONS: 'print_stacktrace=1:halt_on_error=1:abort_on_error=1',
  // GLib's own allocator would hide what is read after it was freed.
  G_SLICE: 'always-malloc',
});

function readArguments() {
  const { values, positionals } = parseArgs({
    options: { seconds: { type: 'string', default: '20' } },
    allowPositionals: true,
  });
  const seconds = Number(values.seconds);
  if (!Number.isInteger(seconds) || seconds < 1) {
    throw new Error(`--seconds ${values.seconds}: expected a whole number from 1 on`);
  }
  const known = fs.readdirSync(seeds).sort();
  const unknown = positionals.find((name) => !known.includes(name));
  if (unknown) throw new Error(`${unknown}: expected one of ${known.join(', ')}`);
  return { seconds, targets: positionals.length > 0 ? positionals : known };
}

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
    { env: environment(target), capture: true, deadlineSeconds: seconds + PATIENCE_SECONDS },
  );
  const inputs = Number(output.match(/stat::number_of_executed_units:\s*(\d+)/)?.[1] ?? 0);
  console.log(`${inputs} inputs`);
  if (!ok) console.log(output.slice(-10_000));
  const hint = `see build/fuzz/findings/${target}; mend it and add the input to the corpus`;
  count(tally, ok && inputs > 0, `${target}: ${ok ? 'no input was tried' : `${reason}; ${hint}`}`);
}

async function main() {
  const { seconds, targets } = readArguments();
  return runStages(
    targets.map((target) => ({ name: target, run: (tally) => fuzz(tally, target, seconds) })),
  );
}

main().then(
  (ok) => {
    process.exitCode = ok ? 0 : 1;
  },
  (error) => {
    console.error(error.message);
    process.exitCode = 2;
  },
);

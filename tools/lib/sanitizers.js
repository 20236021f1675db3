'use strict';

const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { buildFolder } = require('./project');
const { count } = require('./tally');

const suppressions = (name) =>
  `suppressions=${path.resolve(__dirname, '../sanitizers', `${name}.supp`)}`;

/** The two sanitizer builds (CMake presets): the runtime that Node needs preloaded, and its flags. */
const kinds = {
  asan: {
    runtime: 'libasan.so',
    options: {
      // Whole stacks: the fast unwinder stops in GLib, and a suppression would hide all of it.
      // Thread-local data of loaded libraries: where they begin is guessed from glibc's heap, which
      // is not in use here, and the search for leaks crashes on a wrong guess.
      ASAN_OPTIONS: ['detect_leaks=1', 'fast_unwind_on_malloc=0', 'intercept_tls_get_addr=0'],
      LSAN_OPTIONS: [suppressions('lsan'), 'print_suppressions=0'],
      UBSAN_OPTIONS: ['print_stacktrace=1', 'halt_on_error=1'],
    },
  },
  tsan: {
    runtime: 'libtsan.so',
    options: {
      // Accesses within libraries without instrumentation cannot be checked: their locks are
      // invisible. Accesses by the project's own code are always checked.
      TSAN_OPTIONS: ['ignore_noninstrumented_modules=1', 'second_deadlock_stack=1'].concat(
        suppressions('tsan'),
      ),
    },
  },
};

function reportFolder(kind) {
  return path.join(buildFolder(kind), 'sanitizer-reports');
}

/**
 * Empties the folder of reports and returns the environment of sanitized tests.
 *
 * @param {'asan'|'tsan'} kind
 * @returns {{cpp: NodeJS.ProcessEnv, node: NodeJS.ProcessEnv}} for sanitized programs, and for a
 *   Node, itself without a sanitizer, that loads a sanitized add-on
 */
function sanitizerEnvironment(kind) {
  const { runtime, options } = kinds[kind];
  const reports = reportFolder(kind);
  fs.rmSync(reports, { recursive: true, force: true });
  fs.mkdirSync(reports, { recursive: true });

  // GLib's own allocator would hide who freed which memory, and pass it on unseen.
  const cpp = { G_SLICE: 'always-malloc' };
  for (const [name, flags] of Object.entries(options)) {
    cpp[name] = [...flags, `log_path=${path.join(reports, 'report')}`].join(':');
  }
  // Node frees neither its heap nor the add-on's objects when it exits, so leak reports are
  // meaningless there.
  const node = { ...cpp, LUMO_TEST_SCALE: process.env.LUMO_TEST_SCALE ?? '0.1' };
  if (kind === 'asan') node.ASAN_OPTIONS += ':detect_leaks=0:fast_unwind_on_malloc=1';
  const found = execFileSync('g++', [`-print-file-name=${runtime}`], { encoding: 'utf8' }).trim();
  return { cpp, node: { ...node, LD_PRELOAD: fs.realpathSync(found) } };
}

/**
 * Prints the reports of a stage and counts each as a failure.
 *
 * @param {import('./tally').Tally} tally
 * @param {'asan'|'tsan'} kind
 */
function countReports(tally, kind) {
  const folder = reportFolder(kind);
  for (const name of fs.readdirSync(folder)) {
    const file = path.join(folder, name);
    console.log(fs.readFileSync(file, 'utf8'));
    fs.rmSync(file);
    count(tally, false, `${tally.stage}: ${kind} ${name}`);
  }
}

module.exports = { countReports, sanitizerEnvironment };

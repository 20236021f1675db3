'use strict';

// A first live stream, from end to end on this machine: starts an RTMP server, captures a test
// pattern, a camera, a screen or a video file, publishes it, measures the stream at the server with
// FFmpeg, and prints a report. Or plays a stream. Run with --help for the options.

const { signals } = require('node:os').constants;
const { firstStream } = require('./first_stream');
const { playStream } = require('./play_stream');
const { readOptions, usage } = require('./options');
const { Progress } = require('./progress');
const { playReport, textReport } = require('./report');

async function main() {
  let options;
  try {
    options = readOptions(process.argv.slice(2));
  } catch (error) {
    console.error(`${error.message}\n\n${usage}`);
    return 2;
  }
  if (options.help) {
    console.log(usage);
    return 0;
  }
  const interruption = new AbortController();
  for (const name of ['SIGINT', 'SIGTERM']) process.on(name, () => interruption.abort(name));

  const progress = new Progress(process.stderr);
  const [run, text] = options.play ? [playStream, playReport] : [firstStream, textReport];
  const report = await run(options, progress, interruption.signal);
  progress.end();
  if (interruption.signal.aborted) console.error('interrupted');
  console.log(options.json ? JSON.stringify(report, null, 2) : text(report));
  // As a shell reports the end by a signal.
  if (interruption.signal.aborted) return 128 + signals[interruption.signal.reason];
  return report.seen && report.errors.length === 0 ? 0 : 1;
}

main().then(
  // A pusher with listeners keeps the event loop alive, so the exit must be explicit.
  (code) => process.exit(code),
  (error) => {
    console.error(error);
    process.exit(1);
  },
);

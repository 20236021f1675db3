'use strict';

// A first live stream, from end to end on this machine: starts an RTMP server, captures a test
// picture, a camera or a video file, publishes it, has the server's stream looked at by FFmpeg, and
// says what was seen. Run with --help for the options.

const { firstStream } = require('./first_stream');
const { readOptions, usage } = require('./options');
const { Progress } = require('./progress');
const { textReport } = require('./report');

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
  for (const signal of ['SIGINT', 'SIGTERM']) process.on(signal, () => interruption.abort());

  const progress = new Progress(process.stderr);
  const report = await firstStream(options, progress, interruption.signal);
  progress.end();
  console.log(options.json ? JSON.stringify(report, null, 2) : textReport(report));
  return report.seen && report.problems.length === 0 ? 0 : 1;
}

main().then(
  // A pusher with listeners keeps the event loop alive, so the end has to be said.
  (code) => process.exit(code),
  (error) => {
    console.error(error);
    process.exit(1);
  },
);

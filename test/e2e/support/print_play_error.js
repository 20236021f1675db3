'use strict';

// Plays the URL in its first argument, which must fail, prints the error as JSON and exits. The log
// is written to standard error.

const { openLivePush } = require('./live_push');
const { openPlayer } = require('./player');

async function main() {
  const live = openLivePush();
  live.push.setConsoleEnabled(true);
  const error = await openPlayer(live).failureOf(process.argv[2]);
  process.stdout.write(JSON.stringify(error), () => process.exit(0));
}

main();

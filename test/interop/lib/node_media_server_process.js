'use strict';

// Runs node-media-server with the configuration in the file named by the first argument. Prints
// "published PATH" when media of a stream have arrived.

const fs = require('node:fs');
const NodeMediaServer = require('node-media-server');

const file = process.argv[2];
const server = new NodeMediaServer(JSON.parse(fs.readFileSync(file, 'utf8')), file);
server.on('postPublish', (session) => {
  const waiting = setInterval(() => {
    if (!session.videoCodec && !session.audioCodec) return;
    clearInterval(waiting);
    console.log(`published ${session.streamPath}`);
  }, 20);
});
server.run();

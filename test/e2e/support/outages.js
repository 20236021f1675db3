'use strict';

const { startRtmpServer } = require('../../../tools/rtmp/rtmp_server');

/**
 * Kills a server while `live` publishes to it and starts another one in its place.
 *
 * @returns {Promise<object>} the new server, once the push has reported that it is back
 */
async function killAndRestart(server, live) {
  const lost = live.next('onReconnectStart');
  await server.kill();
  await lost;
  const back = live.next('onReconnectSucceed');
  const restarted = await startRtmpServer({ rtmpPort: server.rtmpPort });
  await back;
  return restarted;
}

module.exports = { killAndRestart };

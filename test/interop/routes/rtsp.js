'use strict';

const { once } = require('node:events');
const path = require('node:path');
const { startChild } = require('../../../tools/rtmp/child');
const { freePort } = require('../../../tools/rtmp/rtmp_server');
const { buildDirectory } = require('../../js/support/build_directory');
const { clipIn, clipOf } = require('../lib/clips');
const { isListening, until } = require('../lib/network');

const QUEUE = 'queue max-size-time=0 max-size-buffers=0 max-size-bytes=0';
const PAYLOADERS = {
  h264: 'h264parse ! rtph264pay config-interval=-1',
  hevc: 'h265parse ! rtph265pay config-interval=-1',
  vp8: 'rtpvp8pay',
  vp9: 'rtpvp9pay',
  mjpeg: 'jpegparse ! rtpjpegpay',
  mpeg4: 'mpeg4videoparse ! rtpmp4vpay config-interval=1',
  aac: 'aacparse ! rtpmp4gpay',
  mp3: 'mpegaudioparse ! rtpmpapay',
  opus: 'opusparse ! rtpopuspay',
  ac3: 'ac3parse ! rtpac3pay',
  pcmu: 'rtppcmupay',
};

/** GStreamer's RTSP server: each client has the clip from its beginning. */
const gstreamer = (transport) => async (media, context) => {
  const kinds = ['video', 'audio'].filter((kind) => media[kind]);
  const clip = await clipOf(media);
  const demuxer = clip.endsWith('.mp4') ? 'qtdemux' : 'matroskademux';
  const branches = kinds.map(
    (kind, index) =>
      `d.${kind}_0 ! ${QUEUE} ! ${PAYLOADERS[media[kind].codec]} name=pay${index} pt=${96 + index}`,
  );
  const launch = `( filesrc location=${clip} ! ${demuxer} name=d ${branches.join(' ')} )`;
  const program = path.join(buildDirectory, 'e2e/rtsp_test_server');
  const server = startChild(program, transport === 'tcp' ? [launch, 'tcp'] : [launch]);
  context.atEnd(() => server.stop());
  const [text] = await once(server.process.stdout, 'data');
  const input = ['-rtsp_transport', transport];
  return { url: `rtsp://127.0.0.1:${Number(text)}/red`, input };
};

/** VLC, which refuses to run as root, and to send over TCP. */
async function vlc(media, context) {
  const port = await freePort();
  const clip = await clipIn(media, 'mp4');
  const user = process.getuid() === 0 ? ['--reuid=65534', '--regid=65534', '--clear-groups'] : [];
  const server = startChild('setpriv', [
    ...[...user, 'setpriv', '--pdeathsig', 'KILL', 'env', `HOME=${context.folder}/vlc`],
    ...['vlc', '-I', 'dummy', '--no-dbus', '--quiet', '--loop', clip],
    ...['--sout', `#rtp{sdp=rtsp://127.0.0.1:${port}/red}`, '--sout-keep'],
  ]);
  server.process.stdout.resume();
  context.atEnd(() => server.stop());
  await until('VLC', () => isListening(port), [server]);
  return { url: `rtsp://127.0.0.1:${port}/red`, input: ['-rtsp_transport', 'udp'] };
}

module.exports = {
  'RTSP, UDP': {
    gstreamer: { start: gstreamer('udp') },
    vlc: { needs: ['vlc'], start: vlc },
  },
  'RTSP, TCP': {
    gstreamer: { start: gstreamer('tcp') },
  },
};

'use strict';

// Programs that send a clip as a live stream. They copy encoded media, so that sending costs very
// little.

const path = require('node:path');
const { startChild } = require('../../../tools/rtmp/child');
const { clipIn, clipOf } = require('./clips');

const LIVE = ['-v', 'error', '-nostdin', '-re', '-stream_loop', '-1'];

/**
 * ffmpeg.
 *
 * @param {import('./media').Media} media
 * @param {string} format of the stream
 * @param {string} url
 * @param {string[]} [options] for the output
 */
async function sendWithFfmpeg(media, format, url, options = []) {
  const copy = ['-map', '0', '-c', 'copy', '-strict', '-2'];
  const input = ['-i', await clipOf(media)];
  return startChild('ffmpeg', [...LIVE, ...input, ...copy, ...options, '-f', format, url]);
}

// The parsers between demultiplexer and multiplexer.
const PARSERS = {
  h264: 'h264parse config-interval=-1',
  hevc: 'h265parse config-interval=-1',
  aac: 'aacparse',
  mp3: 'mpegaudioparse',
  ac3: 'ac3parse',
  opus: 'opusparse',
};
const QUEUE = 'queue max-size-time=0 max-size-buffers=0 max-size-bytes=0';

/**
 * GStreamer.
 *
 * @param {import('./media').Media} media
 * @param {string} muxer its description, named "m"; may be empty, where the sink is named so
 * @param {string} sink
 * @param {object} [options]
 * @param {boolean} [options.output] it writes the stream to its standard output
 * @param {boolean} [options.pads] the muxer's pads are named after their media
 */
async function sendWithGstreamer(media, muxer, sink, { output = false, pads = false } = {}) {
  const file = await clipIn(media, 'mp4');
  const branch = (kind) =>
    `d.${kind}_0 ! ${QUEUE} ! ${PARSERS[media[kind].codec]} ! clocksync ! m.${pads ? kind : ''}`;
  const branches = ['video', 'audio'].filter((kind) => media[kind]).map(branch);
  const end = [muxer, sink].filter(Boolean).join(' ! ');
  const text = `${end} filesrc location=${file} ! qtdemux name=d ${branches.join(' ')}`;
  const child = startChild('gst-launch-1.0', ['-q', ...text.split(' ')]);
  if (!output) child.process.stdout.resume();
  return child;
}

/**
 * The FFmpeg 8 of the npm package node-av.
 *
 * @param {import('./media').Media} media
 * @param {string} format of the stream
 * @param {string} url
 */
async function sendWithFfmpeg8(media, format, url) {
  const program = path.join(__dirname, 'ffmpeg8_sender_process.js');
  const child = startChild(process.execPath, [program, await clipOf(media), format, url]);
  child.process.stdout.resume();
  return child;
}

module.exports = { sendWithFfmpeg, sendWithFfmpeg8, sendWithGstreamer };

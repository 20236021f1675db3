'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { startChild } = require('../../../tools/rtmp/child');
const { startRtmpServer } = require('../../../tools/rtmp/rtmp_server');
const { clipOf } = require('../lib/clips');
const { until } = require('../lib/network');
const { sendWithFfmpeg, sendWithGstreamer } = require('../lib/senders');
const { files, startWebServer } = require('../lib/web_server');

const SEGMENTS = 3; // available when a player starts

const segmentsIn = (file) =>
  fs.existsSync(file) ? fs.readFileSync(file, 'utf8').split('#EXTINF').length - 1 : 0;

const TS = ['-hls_segment_type', 'mpegts'];
const FMP4 = ['-hls_segment_type', 'fmp4', '-hls_fmp4_init_filename', 'init.mp4'];
const LIVE = ['-hls_time', '1', '-hls_list_size', '5', '-hls_flags', 'delete_segments'];

/** Live: ffmpeg cuts segments, a web server offers them. */
const fromFfmpeg =
  (options, { encrypted = false, list = 'stream.m3u8', master = list } = {}) =>
  async (media, context) => {
    const { folder } = context;
    const output = path.join(folder, options.includes('-var_stream_map') ? 'v%v.m3u8' : list);
    const sender = await sendWithFfmpeg(media, 'hls', output, [...LIVE, ...options]);
    context.atEnd(() => sender.stop());
    const ready = () =>
      fs.existsSync(path.join(folder, master)) && segmentsIn(path.join(folder, list)) >= SEGMENTS;
    await until('three segments', ready, [sender]);
    return { url: `${await startWebServer(context, files(folder), encrypted)}/${master}` };
  };

/** A recording: the whole clip in segments. */
const recorded = (options) => async (media, context) => {
  const list = path.join(context.folder, 'stream.m3u8');
  const whole = ['-hls_time', '2', '-hls_list_size', '0', '-hls_playlist_type', 'vod'];
  const copy = ['-map', '0', '-c', 'copy', '-strict', '-2', ...whole, ...options];
  const clip = ['-v', 'error', '-nostdin', '-i', await clipOf(media)];
  await startChild('ffmpeg', [...clip, ...copy, '-f', 'hls', list]).ended;
  return { url: `${await startWebServer(context, files(context.folder))}/stream.m3u8` };
};

async function fromNginx(media, context) {
  const hls = 'live on; hls on; hls_path FILES; hls_fragment 1s; hls_playlist_length 5s;';
  const server = await startRtmpServer({ applications: { hls } });
  context.atEnd(() => server.stop());
  const sender = await sendWithFfmpeg(media, 'flv', server.url('stream', 'hls'));
  context.atEnd(() => sender.stop());
  const list = path.join(server.filesFolder, 'stream.m3u8');
  await until('three segments', () => segmentsIn(list) >= SEGMENTS, [sender]);
  return { url: server.fileUrl('stream.m3u8') };
}

async function fromGstreamer(media, context) {
  const { folder } = context;
  const list = `${folder}/stream.m3u8`;
  const places = `location=${folder}/s%05d.ts playlist-location=${list}`;
  const sink = `hlssink2 name=m target-duration=1 max-files=8 playlist-length=5 ${places}`;
  const sender = await sendWithGstreamer(media, '', sink, { pads: true });
  context.atEnd(() => sender.stop());
  await until('three segments', () => segmentsIn(list) >= SEGMENTS, [sender]);
  return { url: `${await startWebServer(context, files(folder))}/stream.m3u8` };
}

/** AES-128 with a key that the playlist names. */
async function withKey(media, context) {
  const { folder } = context;
  fs.writeFileSync(path.join(folder, 'key.bin'), Buffer.alloc(16, 7));
  const info = path.join(folder, 'key.info');
  fs.writeFileSync(info, `key.bin\n${path.join(folder, 'key.bin')}\n`);
  return fromFfmpeg([...TS, '-hls_key_info_file', info])(media, context);
}

const VARIANTS = ['-master_pl_name', 'master.m3u8', '-var_stream_map'];

module.exports = {
  'HLS, TS': {
    'ffmpeg, live': { start: fromFfmpeg(TS) },
    'ffmpeg, live, HTTPS': { start: fromFfmpeg(TS, { encrypted: true }) },
    'ffmpeg, live, AES-128': { start: withKey },
    'ffmpeg, live, master playlist': {
      start: fromFfmpeg([...TS, ...VARIANTS, 'v:0,a:0'], {
        list: 'v0.m3u8',
        master: 'master.m3u8',
      }),
    },
    'ffmpeg, live, audio rendition': {
      start: fromFfmpeg([...TS, ...VARIANTS, 'v:0,agroup:aud a:0,agroup:aud,default:yes'], {
        list: 'v0.m3u8',
        master: 'master.m3u8',
      }),
    },
    'ffmpeg, nginx, live': { start: fromNginx },
    'gstreamer, live': { start: fromGstreamer },
    'ffmpeg, recorded': { start: recorded(TS) },
  },
  'HLS, fMP4': {
    'ffmpeg, live': { start: fromFfmpeg(FMP4) },
    'ffmpeg, live, master playlist': {
      start: fromFfmpeg([...FMP4, ...VARIANTS, 'v:0,a:0'], {
        list: 'v0.m3u8',
        master: 'master.m3u8',
      }),
    },
    'ffmpeg, live, audio rendition': {
      start: fromFfmpeg([...FMP4, ...VARIANTS, 'v:0,agroup:aud a:0,agroup:aud,default:yes'], {
        list: 'v0.m3u8',
        master: 'master.m3u8',
      }),
    },
    'ffmpeg, recorded': { start: recorded(FMP4) },
    'ffmpeg, recorded, byte ranges': { start: recorded([...FMP4, '-hls_flags', 'single_file']) },
  },
};

'use strict';

// Servers of HLS playlists. docs/security.md documents what a playlist may name.

const { answer, head, httpServer, masterOf, playlistOf, response } = require('../support/http');

const NOT_FOUND = -3201;
const REJECTED = -3202;
const UNDECODABLE = -3203;
const TEN_SECONDS = 10_000;

const rejected = (msg) => ({ code: REJECTED, msg, withinMs: 2000 });
const inTime = (...codes) => ({ code: codes, withinMs: TEN_SECONDS });

/** Serves a playlist as "/stream", and `inner` for everything else. */
const behind = (playlist, inner) =>
  httpServer(async (peer, target) => {
    if (target === '/stream') return answer(peer, response(playlist));
    peer.attack();
    return inner(peer, target);
  });

const serves = (playlist) =>
  httpServer(async (peer) => {
    peer.attack();
    await answer(peer, response(playlist));
  });

/** A playlist without end. */
async function endlessPlaylist(peer) {
  await peer.write(head(200));
  await peer.write('#EXTM3U\n#EXT-X-TARGETDURATION:2\n');
  await peer.flood(Buffer.from('#EXTINF:2,\nsegment.ts\n'.repeat(1000)), 50_000_000);
}

async function endlessZeros(peer) {
  await peer.write(head(200));
  await peer.flood(Buffer.alloc(65_536), 50_000_000);
}

// Addresses that are always forbidden.
const FORBIDDEN = [
  'fd://0',
  'file:///etc/passwd',
  'udp://127.0.0.1:5004',
  'srt://127.0.0.1:5005?mode=listener',
  'rtsp://127.0.0.1/stream',
  'rtmp://127.0.0.1/live/stream',
  'v4l2:///dev/video0',
  'testbin://video,pattern=smpte',
  'data:text/plain,hello',
  'nimbo:1:media:application:file:///etc/passwd',
];

const MARKED = Buffer.from(playlistOf('fd://0'));
const ID3 = Buffer.from('49443304000000000000', 'hex');

/** @type {import('../support/case').Row[]} */
module.exports = [
  ...FORBIDDEN.map((address) => ({
    name: `a segment at ${address}`,
    quick: address.startsWith('fd') || address.startsWith('srt'),
    serve: serves(playlistOf(address)),
    play: rejected(/scheme|cannot be read|no host/),
  })),
  {
    name: 'a key at file:///etc/passwd',
    serve: serves(playlistOf('a.ts', ['#EXT-X-KEY:METHOD=AES-128,URI="file:///etc/passwd"'])),
    play: rejected(/scheme/),
  },
  {
    name: 'a map at fd://0',
    serve: serves(playlistOf('a.mp4', ['#EXT-X-MAP:URI="fd://0"'])),
    play: rejected(/scheme/),
  },
  {
    name: 'another playlist at udp://127.0.0.1:5004',
    serve: serves(masterOf('udp://127.0.0.1:5004')),
    play: rejected(/scheme/),
  },
  {
    name: 'audio at srt://:5005?mode=listener',
    serve: serves(
      `#EXTM3U\n#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID="a",NAME="a",URI="srt://:5005?mode=listener"\n${masterOf('a.m3u8')}`,
    ),
    play: rejected(/scheme/),
  },
  {
    name: 'a segment at fd://0 in another playlist',
    quick: true,
    serve: behind(masterOf('inner.m3u8'), (peer) => answer(peer, response(MARKED))),
    play: rejected(/scheme/),
  },
  {
    name: 'a segment that redirects to fd://0',
    serve: behind(playlistOf('a.ts'), (peer) =>
      answer(peer, head(302, { Location: 'fd://0', 'Content-Length': 0 })),
    ),
    play: rejected(/scheme/),
  },
  {
    name: 'a segment that is a playlist that names fd://0',
    serve: behind(playlistOf('a.ts'), (peer) => answer(peer, response(MARKED))),
    play: rejected(/scheme/),
  },
  {
    name: 'a segment that is one behind an ID3 tag',
    serve: behind(playlistOf('a.ts'), (peer) =>
      answer(peer, response(Buffer.concat([ID3, MARKED]))),
    ),
    play: inTime(UNDECODABLE, NOT_FOUND),
  },
  {
    name: 'a playlist behind an ID3 tag that names fd://0',
    serve: serves(Buffer.concat([ID3, MARKED])),
    play: inTime(UNDECODABLE),
  },
  {
    name: 'a DASH manifest that names file:///etc/passwd',
    serve: serves(
      '<?xml version="1.0"?><MPD xmlns="urn:mpeg:dash:schema:mpd:2011" type="static" mediaPresentationDuration="PT2S"><Period><AdaptationSet mimeType="video/mp4"><Representation id="1" bandwidth="1"><BaseURL>file:///etc/passwd</BaseURL></Representation></AdaptationSet></Period></MPD>',
    ),
    play: inTime(UNDECODABLE),
  },
  {
    name: 'a session description',
    serve: serves(
      'v=0\r\no=- 0 0 IN IP4 127.0.0.1\r\ns=-\r\nc=IN IP4 127.0.0.1\r\nt=0 0\r\nm=video 5006 RTP/AVP 96\r\n',
    ),
    play: inTime(UNDECODABLE),
  },
  {
    name: 'a playlist without end',
    quick: true,
    serve: httpServer(async (peer) => {
      peer.attack();
      await endlessPlaylist(peer);
    }),
    play: rejected(/playlist.*2 MiB/),
  },
  {
    name: 'another playlist without end',
    quick: true,
    serve: behind(masterOf('inner.m3u8'), endlessPlaylist),
    play: rejected(/playlist.*2 MiB/),
  },
  {
    name: 'another playlist that is none, without end',
    serve: behind(masterOf('inner.m3u8'), endlessZeros),
    play: inTime(UNDECODABLE),
  },
  {
    name: 'a key without end',
    serve: behind(playlistOf('a.ts', ['#EXT-X-KEY:METHOD=AES-128,URI="key"']), (peer, target) =>
      target === '/key' ? endlessZeros(peer) : answer(peer, response(Buffer.alloc(100_000))),
    ),
    play: rejected(/key.*4 KiB/),
  },
  {
    name: 'a map without end',
    serve: behind(playlistOf('a.mp4', ['#EXT-X-MAP:URI="map"']), endlessZeros),
    play: inTime(UNDECODABLE, REJECTED),
  },
  {
    name: 'a segment without end',
    serve: behind(playlistOf('a.ts'), endlessZeros),
    play: inTime(UNDECODABLE, REJECTED),
  },
  {
    name: 'a playlist with more entries than any has',
    serve: serves(`#EXTM3U\n#EXT-X-TARGETDURATION:2\n${'#EXTINF:2,\na\n'.repeat(100_000)}`),
    play: rejected(/50000 entries/),
  },
  {
    name: 'a playlist that names itself',
    serve: httpServer(async (peer) => {
      peer.attack();
      await answer(peer, response(masterOf('stream')));
    }),
    play: inTime(UNDECODABLE, REJECTED, NOT_FOUND),
  },
  {
    name: 'a playlist, then silence',
    serve: behind(playlistOf('a.ts'), (peer) => peer.hold()),
    play: inTime(NOT_FOUND),
  },
  {
    name: 'a playlist, then another that is silent',
    quick: true,
    serve: behind(masterOf('inner.m3u8'), (peer) => peer.hold()),
    play: inTime(NOT_FOUND),
  },
  {
    name: 'segments that are missing',
    serve: behind(playlistOf('a.ts'), (peer) => answer(peer, head(404, { 'Content-Length': 0 }))),
    play: inTime(NOT_FOUND),
  },
];

'use strict';

// Sends a clip in a loop with the FFmpeg 8 of the npm package node-av, at the clip's own rate.
//
// Usage: node ffmpeg8_sender_process.js CLIP FORMAT URL

const { setTimeout: sleep } = require('node:timers/promises');
const { SECONDS } = require('./clips');

async function main(clip, format, url) {
  const { FFmpegError, FormatContext, Packet } = await import('node-av/lib');
  const must = (code, what) => FFmpegError.throwIfError(code, what);
  const input = new FormatContext();
  must(await input.openInput(clip), 'openInput');
  must(await input.findStreamInfo(), 'findStreamInfo');
  const output = new FormatContext();
  must(output.allocOutputContext2(null, format, url), 'allocOutputContext2');
  const sources = input.streams;
  const targets = sources.map((source) => {
    const target = output.newStream();
    must(source.codecpar.copy(target.codecpar), 'copy');
    target.codecpar.codecTag = 0;
    target.timeBase = source.timeBase;
    return target;
  });
  must(await output.openOutput(), 'openOutput');
  must(await output.writeHeader(), 'writeHeader');

  const packet = new Packet();
  packet.alloc();
  const startTime = performance.now();
  for (let round = 0; ; round += 1) {
    while ((await input.readFrame(packet)) >= 0) {
      const { streamIndex: index } = packet;
      const { timeBase } = sources[index];
      const perSecond = timeBase.den / timeBase.num;
      const shift = BigInt(Math.round(round * SECONDS * perSecond));
      packet.pts += shift;
      packet.dts += shift;
      const early = (Number(packet.dts) / perSecond) * 1000 - (performance.now() - startTime);
      if (early > 2) await sleep(early);
      packet.rescaleTs(timeBase, targets[index].timeBase);
      must(await output.interleavedWriteFrame(packet), 'interleavedWriteFrame');
    }
    must(await input.seekFrame(-1, 0n), 'seekFrame');
  }
}

const [clip, format, url] = process.argv.slice(2);
main(clip, format, url).catch((error) => {
  console.error(error);
  process.exit(1);
});

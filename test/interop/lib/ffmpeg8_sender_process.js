// Sends a clip with the FFmpeg 8 that the npm package node-av brings, at the clip's own rate.
//
// Usage: node ffmpeg8_sender_process.js CLIP FORMAT URL

const { setTimeout: sleep } = require('node:timers/promises');

async function main(clip, format, url) {
  const { Demuxer, Muxer } = await import('node-av/api');
  const input = await Demuxer.open(clip);
  const output = await Muxer.open(url, { format });
  const streams = new Map(input.streams.map((stream) => [stream.index, output.addStream(stream)]));
  let begun;
  for await (const packet of input.packets()) {
    if (!packet) break;
    const { num, den } = input.streams[packet.streamIndex].timeBase;
    const time = (Number(packet.dts) * num * 1000) / den;
    begun ??= performance.now() - time;
    const early = time - (performance.now() - begun);
    if (early > 2) await sleep(early);
    await output.writePacket(packet, streams.get(packet.streamIndex));
    packet.free();
  }
  await output.close();
}

const [clip, format, url] = process.argv.slice(2);
main(clip, format, url).catch((error) => {
  console.error(error);
  process.exit(1);
});

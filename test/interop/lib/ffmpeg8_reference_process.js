'use strict';

// Decodes a stream with the FFmpeg 8 of the npm package node-av. Prints {"started": true} when it
// starts opening it, then a ReferenceReport, each on a line.
//
// Usage: node ffmpeg8_reference_process.js URL SECONDS TIMEOUT_SECONDS OPTIONS
//   OPTIONS  of the input, as a JSON object

async function main(url, seconds, timeoutSeconds, options) {
  const { Codec, CodecContext, Dictionary, FormatContext, Frame, Packet } = await import(
    'node-av/lib'
  );
  const { AVMEDIA_TYPE_AUDIO, AVMEDIA_TYPE_VIDEO } = await import('node-av/constants');
  const report = { player: 'FFmpeg 8', videoFrames: 0, audioSamples: 0 };
  const finish = (error) => {
    if (error) report.error = error;
    // A thread that waits for the network would block an orderly exit.
    process.stdout.write(`${JSON.stringify(report)}\n`, () => process.kill(process.pid, 'SIGKILL'));
  };
  const limit = setTimeout(() => finish('time-out'), timeoutSeconds * 1000);
  process.stdout.write('{"started": true}\n');
  const startTime = performance.now();
  const now = () => Math.round(performance.now() - startTime);

  const input = new FormatContext();
  const opened = await input.openInput(url, null, Dictionary.fromObject(options));
  if (opened < 0) return finish(`open: ${opened}`);
  await input.findStreamInfo();
  const decoders = new Map();
  for (const stream of input.streams) {
    const type = stream.codecpar.codecType;
    if (type !== AVMEDIA_TYPE_AUDIO && type !== AVMEDIA_TYPE_VIDEO) continue;
    const codec = Codec.findDecoder(stream.codecpar.codecId);
    if (!codec) continue;
    const context = new CodecContext();
    context.allocContext3(codec);
    context.parametersToContext(stream.codecpar);
    if ((await context.open2(codec, null)) < 0) continue;
    decoders.set(stream.index, { context, isVideo: type === AVMEDIA_TYPE_VIDEO });
  }
  const packet = new Packet();
  packet.alloc();
  const frame = new Frame();
  frame.alloc();
  let firstAt;
  while ((await input.readFrame(packet)) >= 0) {
    const { context, isVideo } = decoders.get(packet.streamIndex) ?? {};
    if (context && (await context.sendPacket(packet)) >= 0) {
      while ((await context.receiveFrame(frame)) >= 0) {
        firstAt ??= performance.now();
        if (isVideo) {
          report.firstFrameMs ??= now();
          report.videoFrames += 1;
          Object.assign(report, { width: frame.width, height: frame.height });
        } else {
          report.firstAudioMs ??= now();
          report.audioSamples += frame.nbSamples;
        }
        frame.unref();
      }
    }
    packet.unref();
    if (firstAt !== undefined && performance.now() - firstAt > seconds * 1000) break;
    if (report.audioSamples > seconds * 48_000 && report.videoFrames === 0) break;
    if (report.videoFrames > seconds * 60) break;
  }
  clearTimeout(limit);
  finish();
}

const [url, seconds, timeoutSeconds, options] = process.argv.slice(2);
main(url, Number(seconds), Number(timeoutSeconds), JSON.parse(options ?? '{}'));

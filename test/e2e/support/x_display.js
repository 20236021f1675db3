'use strict';

const { once } = require('node:events');
const { runChild, startChild } = require('../../../tools/rtmp/child');

/** A virtual X server, with programs on it. `$DISPLAY` of this process names it. */
async function startDisplay({ width = 800, height = 600 } = {}) {
  const server = startChild('Xvfb', [
    ...['-displayfd', '1', '-screen', '0', `${width}x${height}x24`],
    ...['-nolisten', 'tcp', '-noreset'],
  ]);
  const ended = server.ended.then((reason) => {
    throw new Error(`no display: ${reason}`);
  });
  ended.catch(() => {});
  const [number] = await Promise.race([once(server.process.stdout, 'data'), ended]);
  const name = `:${String(number).trim()}`;
  process.env.DISPLAY = name;
  const programs = [];

  return {
    /** Starts a program with a window. @returns {import('../../../tools/rtmp/child').Child} */
    open(command, args) {
      const program = startChild(command, args);
      programs.push(program);
      return program;
    },

    /** The content of the screen as read by FFmpeg: planes of an I420 frame of that size. */
    async screenshot(to) {
      const grab = ['-f', 'x11grab', '-draw_mouse', '1', '-video_size', `${width}x${height}`];
      const scale = `scale=${to.width}:${to.height}:flags=area:out_color_matrix=bt709:out_range=tv`;
      const bytes = await runChild(
        'ffmpeg',
        [
          ...['-v', 'error', '-nostdin', ...grab, '-i', name, '-frames:v', '1'],
          ...['-vf', `${scale},format=yuv420p`, '-f', 'rawvideo', 'pipe:1'],
        ],
        { deadlineSeconds: 20 },
      );
      const luma = to.width * to.height;
      return {
        ...to,
        data_y: bytes.subarray(0, luma),
        data_u: bytes.subarray(luma, luma * 1.25),
        data_v: bytes.subarray(luma * 1.25),
      };
    },

    async saveScreenshot(file) {
      const grab = ['-f', 'x11grab', '-video_size', `${width}x${height}`, '-i', name];
      await runChild('ffmpeg', ['-v', 'error', '-nostdin', ...grab, '-frames:v', '1', '-y', file], {
        deadlineSeconds: 20,
      });
    },

    async stop() {
      await Promise.all(programs.map((program) => program.stop()));
      await server.stop();
      delete process.env.DISPLAY;
    },
  };
}

/** A window of noise, which an encoder needs its whole bit rate for. */
function openNoisyWindow(display, title) {
  const noise = 'color=gray:size=480x360:rate=20,noise=alls=40:allf=t+u';
  return display.open('ffplay', [
    ...['-v', 'error', '-noborder', '-left', '0', '-top', '0', '-window_title', title],
    ...['-f', 'lavfi', noise],
  ]);
}

/**
 * The mean luma and chroma of the fields of a frame.
 *
 * @param {{width: number, height: number, data_y: Buffer, data_u: Buffer, data_v: Buffer}} frame
 * @returns {number[]} Y, U and V, field by field, row by row
 */
function fieldMeans(frame, columns, rows) {
  const means = [];
  for (let row = 0; row < rows; row += 1) {
    for (let column = 0; column < columns; column += 1) {
      for (const [data, part] of [
        [frame.data_y, 1],
        [frame.data_u, 2],
        [frame.data_v, 2],
      ]) {
        const [width, height] = [frame.width / part, frame.height / part];
        const stride = data.length / height;
        let sum = 0;
        let count = 0;
        for (let y = Math.ceil((row * height) / rows); y < ((row + 1) * height) / rows; y += 1) {
          const first = y * stride + Math.ceil((column * width) / columns);
          const end = y * stride + ((column + 1) * width) / columns;
          for (let place = first; place < end; place += 1) {
            sum += data[place];
            count += 1;
          }
        }
        means.push(sum / count);
      }
    }
  }
  return means;
}

module.exports = { fieldMeans, openNoisyWindow, startDisplay };

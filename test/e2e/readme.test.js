'use strict';

// The README's programs, run as they stand but for the server's port.

const assert = require('node:assert/strict');
const { spawn } = require('node:child_process');
const { once } = require('node:events');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { createInterface } = require('node:readline');
const { after, before, describe, it } = require('node:test');
const { startRtmpServer } = require('../../tools/rtmp/rtmp_server');
const { probeStream } = require('../../tools/rtmp/witness');

const ROOT = path.resolve(__dirname, '../..');
const GUARD = { timeout: 60_000 };
const ADDRESS = 'rtmp://127.0.0.1/live/stream';

const readme = fs.readFileSync(path.join(ROOT, 'README.md'), 'utf8');
const programs = [...readme.matchAll(/^```js\n([\s\S]*?)^```$/gm)].map(([, text]) => text);

describe("the README's programs", GUARD, () => {
  let server;
  let folder;
  before(async () => {
    server = await startRtmpServer();
    folder = fs.mkdtempSync(path.join(os.tmpdir(), 'lumo-readme-'));
    fs.mkdirSync(path.join(folder, 'node_modules'));
    fs.symlinkSync(ROOT, path.join(folder, 'node_modules', 'lumolivepush-electron-sdk'));
  });
  after(async () => {
    fs.rmSync(folder, { recursive: true });
    await server.stop();
  });

  it('are two', () => assert.equal(programs.length, 2));

  programs.forEach((text, index) => {
    it(`publish when they are run: number ${index + 1}`, async () => {
      assert.ok(text.includes(ADDRESS));
      const name = `program${index}`;
      const file = path.join(folder, `${name}.${/^import /m.test(text) ? 'mjs' : 'cjs'}`);
      fs.writeFileSync(file, text.replace(ADDRESS, server.url(name)));
      const program = spawn(process.execPath, [file], { stdio: ['ignore', 'pipe', 'inherit'] });
      const ended = once(program, 'close');
      try {
        for await (const line of createInterface(program.stdout)) {
          if (line === 'on air') break;
          assert.match(line, /^1280 720 921600$/);
        }
        const { video } = await probeStream(server.url(name), 2);
        assert.deepEqual([video.width, video.height], [1280, 720]);
      } finally {
        program.kill();
        await ended;
      }
    });
  });
});

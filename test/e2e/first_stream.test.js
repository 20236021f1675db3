'use strict';

// The example behind `npm start`, as its user runs it.

const assert = require('node:assert/strict');
const { spawn } = require('node:child_process');
const { once } = require('node:events');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after, describe, it } = require('node:test');
const { createInterface } = require('node:readline');

const PROGRAM = path.resolve(__dirname, '../../examples/first-stream/main.js');
const GUARD = { timeout: 60_000 };

describe('the first stream', GUARD, () => {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'lumo-first-stream-'));
  after(() => fs.rmSync(folder, { recursive: true }));

  it('ends in order when it is interrupted, with what a shell expects', async () => {
    const child = spawn(process.execPath, [PROGRAM, '--seconds', '60', '--json'], { cwd: folder });
    const ended = once(child, 'close');
    let output = '';
    child.stdout.on('data', (bytes) => {
      output += bytes;
    });
    const lines = [];
    for await (const line of createInterface(child.stderr)) {
      lines.push(line);
      if (/delivered, /.test(line) && !child.killed) child.kill('SIGINT');
    }
    const [code] = await ended;
    assert.equal(code, 130, lines.join('\n'));
    assert.equal(lines.at(-1), 'interrupted');
    const { errors, frames, events } = JSON.parse(output);
    assert.deepEqual(errors, []);
    assert.ok(frames.captured > 0);
    assert.equal(events.at(-1).name, 'onPreviewStopped');
    assert.ok(fs.existsSync(path.join(folder, 'first-stream-preview.png')));
  });
});

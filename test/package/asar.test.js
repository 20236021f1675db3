/*
 * Applications packed by @electron/asar, with the patterns that packagers use. Electron shows the
 * archive as a folder beside what was unpacked; here it is one.
 */

const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const { after, describe, it } = require('node:test');
const {
  PACKAGE,
  makeApplication,
  mustRun,
  removeApplications,
  tools,
} = require('./support/application');

const MAIN = `
  const { createLivePush, loadError } = require('${PACKAGE}');
  console.log(loadError ? loadError.code + ': ' + loadError.remedy : typeof createLivePush());
  process.exit();
`;

/** Packs an application and runs it from the archive. @returns {string} what it prints */
async function runPacked(options) {
  const { createPackageWithOptions, extractAll } = await import(
    path.join(tools, '@electron/asar/lib/asar.js')
  );
  const { folder } = makeApplication({ 'main.js': MAIN });
  const archive = path.join(folder, '..', `${path.basename(folder)}-resources`, 'app.asar');
  try {
    await createPackageWithOptions(folder, archive, options);
    extractAll(archive, `${archive}.extracted`);
    fs.rmSync(archive);
    fs.renameSync(`${archive}.extracted`, archive);
    return mustRun(process.execPath, [path.join(archive, 'main.js')]);
  } finally {
    fs.rmSync(path.dirname(archive), { recursive: true });
  }
}

describe('an application in an asar archive', () => {
  after(removeApplications);

  it("runs with the package's folder unpacked", async () => {
    const output = await runPacked({ unpackDir: `**/node_modules/${PACKAGE}` });
    assert.equal(output, 'object\n');
  });

  it('is told what is missing where only the add-on was unpacked', async () => {
    const output = await runPacked({ unpack: '**/*.node' });
    assert.match(output, /^SDK_NOT_FOUND: .*unpack NimboSdk\.framework too/);
  });

  it('is told what to unpack where nothing was', async () => {
    assert.match(await runPacked({}), /^INSIDE_ARCHIVE: .*asarUnpack.*unpackDir/);
  });
});

/*
 * Bundles of an application that did not declare the package external: they find the installed
 * package, and say what to do where there is none. Importing them never throws.
 */

const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const esbuild = require('./node_modules/esbuild');
const { rollup } = require('./node_modules/rollup');
const webpack = require('./node_modules/webpack');
const { PACKAGE, makeApplication, mustRun, removeApplications } = require('./support/application');

const USE = `
  console.log(isSupported(), loadError?.code, loadError?.remedy);
  try {
    createLivePush();
    console.log('made');
  } catch (error) {
    console.log('threw', error === loadError);
  }
  process.exit();
`;
const NAMES = '{ createLivePush, isSupported, loadError }';
const SOURCES = {
  'required.cjs': `const ${NAMES} = require('${PACKAGE}'); ${USE}`,
  'imported.mjs': `import ${NAMES} from '${PACKAGE}'; ${USE}`,
};

const bundleWithEsbuild = (format) => (entry, outfile) =>
  esbuild.build({
    entryPoints: [entry],
    outfile,
    format,
    bundle: true,
    platform: 'node',
    logLevel: 'silent',
  });

const bundleWithWebpack = (module) => async (entry, outfile) => {
  const output = { path: path.dirname(outfile), filename: path.basename(outfile), module };
  const options = {
    mode: 'production',
    target: 'node18',
    entry,
    output,
    experiments: { outputModule: module },
  };
  const stats = await new Promise((resolve, reject) => {
    webpack(options, (error, result) => (error ? reject(error) : resolve(result)));
  });
  assert.deepEqual(stats.toJson({ errors: true, warnings: true }).errors, []);
  assert.deepEqual(stats.toJson({ errors: true, warnings: true }).warnings, []);
};

// Rollup itself leaves packages outside: what it bundles here is the package's entry point.
const bundleWithRollup = async (entry, outfile) => {
  const bundle = await rollup({
    input: entry,
    onwarn: () => {},
  });
  await bundle.write({ file: outfile, format: 'es' });
};

const BUNDLES = {
  'esbuild, required, as CommonJS': ['required.cjs', bundleWithEsbuild('cjs'), 'cjs'],
  'esbuild, imported, as CommonJS': ['imported.mjs', bundleWithEsbuild('cjs'), 'cjs'],
  'esbuild, imported, as a module': ['imported.mjs', bundleWithEsbuild('esm'), 'mjs'],
  'webpack, required, as CommonJS': ['required.cjs', bundleWithWebpack(false), 'cjs'],
  'webpack, imported, as CommonJS': ['imported.mjs', bundleWithWebpack(false), 'cjs'],
  'webpack, imported, as a module': ['imported.mjs', bundleWithWebpack(true), 'mjs'],
  'rollup, imported, as a module': ['imported.mjs', bundleWithRollup, 'mjs'],
};

describe('a bundle by', () => {
  let folder;
  let elsewhere;
  before(() => {
    ({ folder } = makeApplication(SOURCES));
    elsewhere = fs.mkdtempSync(path.join(os.tmpdir(), 'lumo-bundle-'));
  });
  after(() => {
    removeApplications();
    fs.rmSync(elsewhere, { recursive: true });
  });

  for (const [what, [entry, bundle, extension]] of Object.entries(BUNDLES)) {
    it(what, async () => {
      const file = `${what.replaceAll(/\W+/g, '_')}.${extension}`;
      const bundled = path.join(folder, 'dist', file);
      await bundle(path.join(folder, entry), bundled);
      assert.equal(mustRun(process.execPath, [bundled]), 'true undefined undefined\nmade\n');

      if (what.startsWith('rollup')) return;
      const alone = path.join(elsewhere, file);
      fs.copyFileSync(bundled, alone);
      fs.renameSync(path.join(folder, 'node_modules'), path.join(folder, 'hidden'));
      try {
        const [report, outcome] = mustRun(process.execPath, [alone]).split('\n');
        assert.match(report, /^false BUNDLED .* is external\.$/);
        assert.equal(outcome, 'threw true');
      } finally {
        fs.renameSync(path.join(folder, 'hidden'), path.join(folder, 'node_modules'));
      }
    });
  }
});

// Checks the npm package as npm would pack it: publint checks package.json against the packed files,
// Are The Types Wrong what TypeScript resolves against what the runtime loads.

import fs from 'node:fs';
import path from 'node:path';
import { checkPackage, Package } from '@arethetypeswrong/core';
import { problemKindInfo } from '@arethetypeswrong/core/problems';
import { publint } from 'publint';
import { formatMessage } from 'publint/utils';

/** What can be resolved: modules, declarations, metadata. */
const MODULE = /\.(json|[cm]?[jt]s)$/;

async function lintMetadata(root, files, metadata) {
  const packed = files.map((file) => ({
    name: `package/${file}`,
    data: fs.readFileSync(path.join(root, file)),
  }));
  const { messages } = await publint({ pkgDir: 'package', pack: { files: packed }, strict: true });
  return messages.map(
    (message) => `publint: ${formatMessage(message, metadata, { color: false })}`,
  );
}

async function checkTypes(root, files, { name, version }) {
  const modules = files
    .filter((file) => MODULE.test(file))
    .map((file) => [
      `/node_modules/${name}/${file}`,
      fs.readFileSync(path.join(root, file), 'utf8'),
    ]);
  const { problems } = await checkPackage(new Package(Object.fromEntries(modules), name, version));
  if (!problems) return ['Are The Types Wrong: the package has no types'];
  return problems.map(({ kind, entrypoint, resolutionKind }) => {
    const where = entrypoint ? ` (${[entrypoint, resolutionKind].filter(Boolean).join(', ')})` : '';
    return `Are The Types Wrong: ${problemKindInfo[kind].description}${where}`;
  });
}

/**
 * @param {string} root the package's folder
 * @param {string[]} files its packed files, relative to it
 * @returns {Promise<string[]>} one text for each defect, suggestions included
 */
export async function packageDefects(root, files) {
  const metadata = JSON.parse(fs.readFileSync(path.join(root, 'package.json'), 'utf8'));
  return [
    ...(await lintMetadata(root, files, metadata)),
    ...(await checkTypes(root, files, metadata)),
  ];
}

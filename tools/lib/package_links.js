'use strict';

const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { root } = require('./project');

/**
 * The files of the npm package, as npm itself lists them. Those that were not built are left out.
 * @returns {string[]} paths relative to the project's root
 */
function packedFiles() {
  const options = { cwd: root, encoding: 'utf8', stdio: ['ignore', 'pipe', 'ignore'] };
  const output = execFileSync(
    'npm',
    ['pack', '--dry-run', '--json', '--ignore-scripts', '--loglevel=error'],
    options,
  );
  return JSON.parse(output)[0].files.map((file) => file.path);
}

/** The text without fenced code, and without inline code except in headings. */
function withoutCode(markdown) {
  return markdown
    .replace(/^( *)(`{3,}|~{3,})[^\n]*\n[\s\S]*?^\1\2 *$/gm, '')
    .replace(/^(?!#).*$/gm, (line) => line.replace(/`[^`]*`/g, ''));
}

/** @returns {string} the anchor of a heading, as GitHub makes it */
function slugOf(heading) {
  return heading
    .replace(/\[([^\]]*)\]\([^)]*\)/g, '$1')
    .trim()
    .toLowerCase()
    .replace(/[^\p{L}\p{N}\s_-]/gu, '')
    .replace(/\s/g, '-');
}

/** @returns {Set<string>} the anchors of a Markdown text; the second "end" is "end-1" */
function anchorsOf(markdown) {
  const anchors = new Set();
  for (const [, heading] of withoutCode(markdown).matchAll(/^#+ +(.+?) *#*$/gm)) {
    const slug = slugOf(heading);
    let anchor = slug;
    for (let count = 1; anchors.has(anchor); ++count) anchor = `${slug}-${count}`;
    anchors.add(anchor);
  }
  return anchors;
}

/** @returns {string[]} the targets of links and images that are no addresses of the web */
function relativeTargets(markdown) {
  const text = withoutCode(markdown);
  const inline = [...text.matchAll(/\]\(<?([^)>\s]+)>?(?: "[^"]*")?\)/g)];
  const definitions = [...text.matchAll(/^\[[^\]]+\]: *<?([^>\s]+)/gm)];
  return [...inline, ...definitions]
    .map(([, target]) => target)
    .filter((target) => !/^[a-z][a-z0-9+.-]*:/i.test(target));
}

/**
 * Finds links in the package's Markdown files that lead nowhere in an installed package: to a file
 * that is not packed, or to a heading that there is not.
 *
 * @param {string[]} files the package's files
 * @param {(file: string) => string} [read] returns a file's text
 * @returns {string[]} one text for each such link
 */
function brokenLinks(files, read = (file) => fs.readFileSync(path.join(root, file), 'utf8')) {
  const isPacked = (target) =>
    files.includes(target) || files.some((file) => file.startsWith(`${target}/`));
  const defectOf = (from, target) => {
    const [link, anchor] = decodeURI(target).split('#');
    const file = link ? path.posix.join(path.posix.dirname(from), link).replace(/\/$/, '') : from;
    if (!isPacked(file)) return `${from}: "${target}": the package has no ${file}`;
    if (!anchor || !file.endsWith('.md')) return undefined;
    return anchorsOf(read(file)).has(anchor) ? undefined : `${from}: "${target}": no such heading`;
  };
  return files
    .filter((file) => file.endsWith('.md'))
    .flatMap((from) => relativeTargets(read(from)).map((target) => defectOf(from, target)))
    .filter(Boolean);
}

module.exports = { brokenLinks, packedFiles, slugOf };

'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { root } = require('./project');

const engine = 'sdk/engine/';

/**
 * Computes the include graph of the engine's folders from the sources.
 *
 * @param {string[]} files paths relative to the project's root; those outside of the engine are skipped
 * @returns {Map<string, Map<string, string>>} for each folder, the folders that it includes, each
 *   with one place where it does
 */
function includeGraph(files) {
  const graph = new Map();
  for (const file of files.filter((each) => each.startsWith(engine))) {
    const from = path.dirname(file).slice(engine.length);
    if (!graph.has(from)) graph.set(from, new Map());
    for (const [, header] of readLines(file, /^#include "([^"]+)"/gm)) {
      const to = path.dirname(header);
      if (to === from || !fs.existsSync(path.join(root, engine, header))) continue;
      if (!graph.get(from).has(to)) graph.get(from).set(to, `${file} includes ${header}`);
    }
  }
  return graph;
}

/**
 * Reads the arrows that the table of docs/architecture.md allows: rows of a folder and the folders
 * that it may include.
 *
 * @returns {Map<string, Set<string>>}
 */
function allowedIncludes() {
  const rows = readLines('docs/architecture.md', /^\| `([a-z0-9/]+)\/` \|.*\|(.*)\|$/gm);
  const names = (cell) => new Set([...cell.matchAll(/`([a-z0-9/]+)\/`/g)].map(([, name]) => name));
  return new Map([...rows].map(([, folder, cell]) => [folder, names(cell)]));
}

// What only Linux or X11 has.
const systemsOwn =
  /#include <(?:X11|linux|netinet\/tcp|sys\/(?:epoll|eventfd|inotify|prctl)|xcb)\b|"\/proc\b/;

/**
 * Finds files of the engine outside of platform/ that use what only one system has.
 *
 * @param {string[]} files paths relative to the project's root; those outside of the engine are skipped
 * @returns {string[]} one text for each
 */
function systemDefects(files) {
  return files
    .filter((file) => file.startsWith(engine) && !file.startsWith(`${engine}platform/`))
    .filter((file) => systemsOwn.test(fs.readFileSync(path.join(root, file), 'utf8')))
    .map((file) => `only platform/ may use what one system has: ${file}`);
}

function readLines(file, pattern) {
  return fs.readFileSync(path.join(root, file), 'utf8').matchAll(pattern);
}

/**
 * Finds the defects of the graph: folders and arrows that are not in the table, and cycles.
 *
 * @param {ReturnType<typeof includeGraph>} graph
 * @param {ReturnType<typeof allowedIncludes>} allowed
 * @returns {string[]} one text for each defect
 */
function graphDefects(graph, allowed) {
  const defects = [];
  for (const [from, arrows] of graph) {
    if (!allowed.has(from)) defects.push(`${from}/ is not in the table of docs/architecture.md`);
    for (const [to, place] of arrows) {
      if (!allowed.get(from)?.has(to)) defects.push(`${from}/ may not include ${to}/: ${place}`);
    }
  }
  return [...defects, ...cycles(graph)];
}

/** Each cycle once, as "a/ -> b/ -> a/". */
function cycles(graph) {
  const found = [];
  const finished = new Set();
  const visit = (folder, trail) => {
    if (trail.includes(folder)) {
      const cycle = [...trail.slice(trail.indexOf(folder)), folder];
      found.push(`include cycle: ${cycle.map((name) => `${name}/`).join(' -> ')}`);
      return;
    }
    if (finished.has(folder)) return;
    for (const to of graph.get(folder)?.keys() ?? []) visit(to, [...trail, folder]);
    finished.add(folder);
  };
  for (const folder of graph.keys()) visit(folder, []);
  return found;
}

module.exports = { allowedIncludes, graphDefects, includeGraph, systemDefects };

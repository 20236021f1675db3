'use strict';

// Writes the engine's table of GStreamer elements from lib/elements.js. CMake runs it when it
// configures.
//
// Usage: node tools/generate-element-table.js FOLDER

const path = require('node:path');
const { ALTERNATIVES, FEATURES } = require('../lib/elements');
const { macro, writeGenerated } = require('./lib/generated');

/** "playing HLS" is kPlayingHls. */
const constantOf = (feature) =>
  `k${feature
    .split(' ')
    .map((word) => word[0].toUpperCase() + word.slice(1).toLowerCase())
    .join('')}`;

function elementTable() {
  const rows = Object.entries(FEATURES).flatMap(([feature, elements]) =>
    Object.entries(elements).map(([element, [, debianPackage]]) => {
      const [alternative] = ALTERNATIVES[element] ?? [''];
      return `${constantOf(feature)}, "${element}", "${debianPackage}", "${alternative}"`;
    }),
  );
  return `// What GStreamer elements are for, and the elements: each with its Debian package and with the
// element that serves in its place, if there is one.

#pragma once

${macro('NIMBO_FEATURE_TABLE', 'FEATURE', Object.keys(FEATURES).map(constantOf))}

${macro('NIMBO_ELEMENT_TABLE', 'ELEMENT', rows)}
`;
}

writeGenerated(path.resolve(process.argv[2]), 'tools/generate-element-table.js', {
  'element_table.h': elementTable(),
});

'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { root } = require('./project');

/**
 * Words that are not the field's, each with those to write instead (see CONTRIBUTING.md, "Words").
 * Only words without another meaning here: they are found in prose and inside identifiers.
 */
const GLOSSARY = [
  [/\banew\b|[a-z]Anew/, '"again", "restart"'],
  [/cushion/i, '"jitter buffer", "prebuffer"'],
  [/\bdumb\b/i, '"delivers no frames"'],
  [/goodbye/i, '"draining"'],
  [/hand-?over/i, '"transfer", "annotation"'],
  [/\b(in|out)lets?\b/i, '"input", "sink", "output branch"'],
  [/\bleft behind\b|LeavableThread/, '"detached", "leaked"'],
  [/lifeline/i, '"weak-owner guard"'],
  [/\bof (its|their) own accord\b/i, '"by itself"'],
  [/patience/i, '"timeout"'],
  [/picture/i, '"frame" for video, "image" for a file'],
  [/rhythm/i, '"clocked output", "schedule"'],
  [/SendLedger|TagGate|LinkWatch/, '"send-queue estimator", "frame gate", "link monitor"'],
  [/\bstand-?ins?\b/i, '"placeholder"'],
  [/\btroubles?\b/i, '"error"'],
  [/(?<!Mix)verdict/i, '"result", "decision"'],
];

/** A header comment that begins with a relative clause instead of what the thing is or does. */
const RELATIVE_CLAUSE = /^\/\/ (Who|What|Which|Whether)\b/;

// Texts of others, inputs of fuzzers, and this list.
const EXCEPT =
  /(^|\/)package-lock\.json$|^test\/fuzz\/corpus\/|^tools\/lib\/glossary\.js$|\.(png|svg)$/;

/**
 * Finds words of the glossary in the project's text files.
 *
 * @param {string[]} files paths relative to the project's root
 * @returns {string[]} one text for each line with such a word
 */
function glossaryDefects(files) {
  return files.filter((file) => !EXCEPT.test(file)).flatMap(defectsOf);
}

function defectsOf(file) {
  const text = fs.readFileSync(path.join(root, file), 'utf8');
  if (text.includes('\0')) return []; // binary
  const defects = text
    .split('\n')
    .flatMap((line, index) =>
      GLOSSARY.filter(([word]) => word.test(line)).map(
        ([word, instead]) => `${file}:${index + 1}: "${line.match(word)[0]}": write ${instead}`,
      ),
    );
  if (file.endsWith('.h') && RELATIVE_CLAUSE.test(text)) {
    defects.push(`${file}:1: begin with what the thing is or does`);
  }
  return defects;
}

module.exports = { glossaryDefects };

'use strict';

// The type declarations take what the native code takes, and refuse what it refuses: a sample
// application, mistakes in it, and a program with every method and event of the lists.

const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const { before, describe, it } = require('node:test');
const ts = require('typescript');
const { EVENTS, PLAYER_EVENT_NAMES } = require('../../../lib/events');
const { METHODS } = require('../../../lib/methods');

const folder = path.resolve(__dirname, '../../types');
const application = path.join(folder, 'application.ts');
const source = fs.readFileSync(application, 'utf8');

const { fileNames, options } = ts.parseJsonConfigFileContent(
  ts.readConfigFile(path.join(folder, 'tsconfig.json'), ts.sys.readFile).config,
  ts.sys,
  folder,
);

/**
 * Compiles the sample, and beside it each of `versions` in place of the application.
 * @param {string[]} versions
 * @returns {{sample: string[], versions: string[][]}} the complaints about each
 */
function compile(versions) {
  const texts = new Map(
    versions.map((text, index) => [path.join(folder, `mistake_${index}.ts`), text]),
  );
  const host = ts.createCompilerHost(options, true);
  const { fileExists, readFile } = host;
  host.fileExists = (file) => texts.has(file) || fileExists.call(host, file);
  host.readFile = (file) => texts.get(file) ?? readFile.call(host, file);
  const sample = ts.createProgram(fileNames, options, host);
  const program = ts.createProgram([...fileNames, ...texts.keys()], options, host, sample);
  const words = ({ code, messageText }) =>
    `TS${code}: ${ts.flattenDiagnosticMessageText(messageText, ' ')}`;
  return {
    sample: ts.getPreEmitDiagnostics(sample).map(words),
    versions: [...texts.keys()].map((file) =>
      program.getSemanticDiagnostics(program.getSourceFile(file)).map(words),
    ),
  };
}

/** For each type of argument in the list a value that is taken, and one that is refused. */
const VALUES = {
  string: ["'onPushStopped'", '5'],
  number: ['1', "'1'"],
  integer: ['1', "'1'"],
  boolean: ['true', '1'],
  object: ['anything', '5'],
  'object or null': ['null', '5'],
  function: ['() => {}', '5'],
  player: ["'0x1'", '5'],
  'plug-in': ["'id'", '5'],
};
const RESULTS = {
  status: 'number',
  text: 'string',
  number: 'number',
  boolean: 'boolean | number',
  list: 'unknown[]',
  record: 'object',
  nothing: 'undefined | number',
};

/** Calls of a method: taken, and refused for each argument and for one that is missing. */
function methodLines([name, { takes, returns }]) {
  const good = takes.map((type) => VALUES[type][0]);
  const refused = takes.flatMap((type, place) => [
    Object.assign([...good], { [place]: VALUES[type][1] }),
    good.slice(0, place),
  ]);
  return [
    `result = live.${name}(${good.join(', ')}) satisfies ${RESULTS[returns]};`,
    ...refused.flatMap((args) => ['// @ts-expect-error', `live.${name}(${args.join(', ')});`]),
  ];
}

/** A listener that uses each key of the payload, and one that uses another. */
function eventLines([name, { carries }]) {
  const listen = (listener) => `live.addEventListener('${name}', ${listener});`;
  if (carries === null) return [listen('(payload) => payload')];
  const uses = carries.map((key) => `payload.${key}`).join(', ');
  return [
    listen(carries.length > 0 ? `(payload) => [${uses}]` : '() => {}'),
    '// @ts-expect-error',
    listen('(payload) => payload.unknown'),
  ];
}

/** A program with every method and event of the lists. */
const everything = `
import type { LumoLivePushJSWrapper, PlayerEventMap } from 'lumolivepush-electron-sdk';
declare const live: LumoLivePushJSWrapper;
declare const anything: any;
export let result: unknown;
${Object.entries(METHODS).flatMap(methodLines).join('\n')}
${Object.entries(EVENTS).flatMap(eventLines).join('\n')}
result = {
${PLAYER_EVENT_NAMES.map((name) => `  ${name}: 1,`).join('\n')}
} satisfies Record<keyof PlayerEventMap, 1>;
`;

/** The sample with one change. */
function changed(from, to) {
  assert.equal(source.split(from).length, 2, `"${from}" stands there once`);
  return source.replace(from, to);
}

/** A mistake, what it changes in the sample, and what the compiler shall say. */
const MISTAKES = [
  [
    'a misspelt event',
    "addEventListener('onPlayError'",
    "addEventListener('onPlayErorr'",
    /TS2345: .*"onPlayErorr"/,
  ],
  [
    'a key that the payload does not have',
    "'onPlayError', (e) => e.code",
    "'onPlayError', (e) => e.kode",
    /TS2339: .*'kode'/,
  ],
  [
    'a payload where there is none',
    "'onPushStopped', () => {}",
    "'onPushStopped', (e) => e",
    /TS2345: .*not assignable/,
  ],
  ['a misspelt method', 'live.pauseScreenShare()', 'live.pauseScreenshare()', /TS2551/],
  ['an argument of a wrong type', 'live.setFps(25)', "live.setFps('25')", /TS2345: .*string/],
  ['a forgotten argument', 'live.stopPlay(id)', 'live.stopPlay()', /TS2554/],
  ['a misspelt option', '{ view: null }', '{ veiw: null }', /TS2353: .*'veiw'/],
  ['a misspelt setting', 'latency: { maxMs: 300 }', 'latency: { maxms: 300 }', /TS2561: .*'maxms'/],
  ['a setting of a wrong type', 'srtListener: true', "srtListener: 'yes'", /TS2322/],
  ["another SDK's settings as an object", 'sendTimeoutMs: 2000', 'colour: 5', /TS2353: .*'colour'/],
  ['an option of a wrong type', 'frameRate: 30', "frameRate: '30'", /TS2322/],
  ['a mixed stream without a place', "userId: 'anna', x: 0,", "userId: 'anna',", /TS2741: .*'x'/],
  ['a stream that is null', 'mixStreams: [{', 'mixStreams: [null, {', /TS2322/],
  [
    'a result of a wrong type',
    'const refused: undefined | 1 =',
    'const refused: string =',
    /TS2322/,
  ],
  ['a log level that there is not', 'live.setLogLevel(3)', 'live.setLogLevel(6)', /TS2345/],
  [
    "a misspelt event of the class's",
    "live.once('onFirstFramePushed'",
    "live.once('onFirstFramePush'",
    /TS2345/,
  ],
  [
    "an event that is not a player's",
    "player.on('onPlayError'",
    "player.on('onSDKError'",
    /TS2345/,
  ],
];

describe('the types', () => {
  let complaints;
  before(() => {
    complaints = compile([...MISTAKES.map(([, from, to]) => changed(from, to)), everything]);
  });

  it('take the sample application', () => assert.deepEqual(complaints.sample, []));

  it('take and refuse what the lists of methods and events say', () => {
    assert.deepEqual(complaints.versions.at(-1), []);
  });

  MISTAKES.forEach(([mistake, , , expected], index) => {
    it(`refuse ${mistake}`, () => {
      const found = complaints.versions[index];
      assert.ok(
        found.some((complaint) => expected.test(complaint)),
        `complaints: ${found.join('\n')}`,
      );
    });
  });
});

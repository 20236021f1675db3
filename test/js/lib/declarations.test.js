'use strict';

// The lists of methods and events in lib/ are what the native class has, what the types declare and
// what the documents describe.

const assert = require('node:assert/strict');
const { spawnSync } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { describe, it } = require('node:test');
const { readDeclarations } = require('../../../tools/lib/declarations');
const { addon, scriptedDirectory } = require('../support/addon');

process.env.LUMO_BUILD_DIR = scriptedDirectory;
const lumo = require('../../../lib');
const { EVENTS, EVENT_NAMES } = require('../../../lib/events');
const { METHODS } = require('../../../lib/methods');

const root = path.resolve(__dirname, '../../..');
const read = (file) => fs.readFileSync(path.join(root, file), 'utf8');
const firstGroups = (text, pattern) => [...text.matchAll(pattern)].map((match) => match[1]);

const declared = Object.fromEntries(
  ['lib/index.d.ts', 'wrapper', 'events', 'live_push', 'records']
    .map((name) => (name.includes('/') ? name : `lib/types/${name}.d.ts`))
    .flatMap((file) => readDeclarations(file).declarations)
    .map((declaration) => [declaration.name, declaration]),
);
const membersOf = (name) =>
  declared[name].members.map((member) => member.name).filter((name) => name !== 'constructor');

/** The part of a document under a heading of the second level. */
function chapter(file, title) {
  const [, text] = new RegExp(`^## ${title}\n(.*?)(?=^## |$(?![^]))`, 'ms').exec(read(file));
  return text;
}

describe('the methods', () => {
  const methods = Object.keys(METHODS);

  it('are what the native class has', () => {
    const { prototype } = addon.LumoLivePushJSWrapper;
    assert.deepEqual(
      Object.keys(prototype).filter((name) => name !== 'constructor'),
      methods,
    );
  });

  it('are declared', () => {
    assert.deepEqual(membersOf('LumoLivePushJSWrapper').sort(), [...methods].sort());
  });

  it('are documented', () => {
    const headings = firstGroups(
      chapter('docs/api.md', 'LumoLivePushJSWrapper'),
      /^#### `(\w+)`$/gm,
    );
    assert.deepEqual(headings.sort(), [...methods].sort());
    for (const { name, doc } of declared.LumoLivePushJSWrapper.members) {
      assert.ok(doc.text || doc.returns, name);
    }
  });
});

describe('the events', () => {
  /** The keys of an interface, its own and those of what it extends. */
  const keysOf = (name) => {
    const base = / extends (\w+) /.exec(declared[name].signature)?.[1];
    return [...new Set([...(base ? keysOf(base) : []), ...membersOf(name)])];
  };

  it('are declared', () => assert.deepEqual(membersOf('EventMap'), EVENT_NAMES));

  it('carry what they are declared to carry', () => {
    for (const { name, type } of declared.EventMap.members) {
      const { carries } = EVENTS[name];
      if (carries === null) continue;
      const payload = /: (\w+)\]$/.exec(type)?.[1];
      const keys = payload ? keysOf(payload) : [];
      assert.deepEqual([...keys].sort(), [...carries].sort(), name);
    }
  });

  it('are documented', () => {
    const rows = firstGroups(read('docs/events.md').split('\n## ')[0], /^\| `(\w+)` \|/gm);
    assert.deepEqual(rows, EVENT_NAMES);
  });
});

describe('the declarations', () => {
  it('name what the package exports', () => {
    const values = Object.values(declared)
      .filter(({ kind }) => ['class', 'function', 'const'].includes(kind))
      .map(({ name }) => name);
    assert.deepEqual(values.sort(), Object.keys(lumo).sort());
  });

  for (const [name, properties] of [
    ['LivePush', ['raw']],
    ['LivePlayer', ['id']],
  ]) {
    it(`name what ${name} has`, () => {
      const { prototype } = lumo[name];
      const own = Reflect.ownKeys(prototype)
        .filter((key) => key !== 'constructor')
        .map((key) => (key === Symbol.asyncDispose ? '[Symbol.asyncDispose]' : key));
      const methods = name === 'LivePush' ? membersOf('LivePushMethods') : [];
      const expected = [...membersOf(name), ...methods].filter(
        (member) => member !== '[Symbol.asyncDispose]' || Symbol.asyncDispose,
      );
      assert.deepEqual([...own, ...properties].sort(), expected.sort());
    });
  }

  it('name the codes of the errors', () => {
    const codes = (text) => firstGroups(text, /\bcode: '(\w+)'/g);
    const union = ({ signature }) => firstGroups(signature, /'(\w+)'/g);
    assert.deepEqual(
      codes(read('lib/explain_load_failure.js') + read('lib/placeholders.js')).sort(),
      union(declared.AddonLoadErrorCode).sort(),
    );
    const table = /DEFAULT_TEXTS = \{(.*?)\}/s.exec(read('lib/live_push_error.js'))[1];
    assert.deepEqual(firstGroups(table, /^ +(\w+):/gm), union(declared.LivePushErrorCode));
  });
});

describe('the settings', () => {
  /** The declared keys, those of an object "outer.inner". */
  const keysOf = (name, outer = '') =>
    declared[name].members.flatMap(({ name: key, type }) => [
      outer + key,
      ...(type in declared ? keysOf(type, `${key}.`) : []),
    ]);

  it('are declared as they are documented', () => {
    const rows = firstGroups(chapter('docs/sdk.md', 'Settings'), /^\| `([\w.]+)` \|/gm);
    assert.deepEqual(keysOf('ExtraConfig').sort(), rows.sort());
  });
});

describe('the documents', () => {
  const check = (...options) =>
    spawnSync(
      process.execPath,
      [path.join(root, 'tools/generate-docs.js'), '--check', ...options],
      {
        encoding: 'utf8',
      },
    );

  it('are what the declarations say', () => {
    const { status, stderr } = check();
    assert.equal(stderr, '');
    assert.equal(status, 0);
  });

  it('are found out when they are not', () => {
    const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'lumo-docs-'));
    fs.writeFileSync(path.join(folder, 'api.md'), read('docs/api.md').replace('kbit/s', 'bit/s'));
    fs.writeFileSync(path.join(folder, 'events.md'), read('docs/events.md'));
    const { status, stderr } = check('--docs', folder);
    fs.rmSync(folder, { recursive: true });
    assert.equal(status, 1);
    assert.match(stderr, /api\.md is not up to date/);
    assert.doesNotMatch(stderr, /events\.md/);
  });
});

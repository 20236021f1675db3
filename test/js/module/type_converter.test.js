'use strict';

// Conversions between JavaScript values and native ones, each with its fallback.

const assert = require('node:assert/strict');
const path = require('node:path');
const { describe, it } = require('node:test');
const { buildDirectory } = require('../support/build_directory');

const converter = require(path.join(buildDirectory, 'probes', 'type_converter_probe.node'));

// Name, fallback, a value of the right type, what it gives, and values of wrong types.
const BY_KEY = [
  ['GetObjectIntValue', -1, 2.9, 2, ['5', true, null, undefined, {}, 5n]],
  ['GetObjectUIntValue', 0, -1, 4294967295, ['5', true, null, undefined, {}, 5n]],
  ['GetObjectBoolValue', false, true, true, [1, 'true', null, undefined, {}, Object(true)]],
  ['GetObjectNumberValue', 0, 2.5, 2.5, ['2.5', true, null, undefined, {}, Object(2.5)]],
  ['GetObjectStringValue', '', 'tëxt', 'tëxt', [1, true, null, undefined, {}, Object('text')]],
  ['GetObjectCharValue', null, Buffer.from('data\0'), 'data', [1, 'data', null, undefined, {}]],
];

describe('reading a key of an object', () => {
  for (const [name, fallback, good, converted, wrong] of BY_KEY) {
    const read = converter[name];

    it(`${name} converts a value of its type`, () => {
      assert.equal(read({ key: good }, 'key'), converted);
    });

    it(`${name} returns ${JSON.stringify(fallback)} for a missing key or a wrong type`, () => {
      assert.equal(read({}, 'key'), fallback);
      for (const value of wrong) assert.equal(read({ key: value }, 'key'), fallback);
    });

    it(`${name} returns its fallback for an empty key, a null handle and a null isolate`, () => {
      const seen = [];
      const spy = new Proxy({ '': good }, { has: (_, key) => seen.push(key), get: () => good });
      assert.equal(read(spy, ''), fallback);
      assert.deepEqual(seen, []);
      assert.equal(read(null, 'key'), fallback);
      assert.equal(read({ key: good }, 'key', true), fallback);
    });

    it(`${name} reads inherited values and runs a getter once`, () => {
      assert.equal(read(Object.create({ key: good }), 'key'), converted);
      let runs = 0;
      const object = {
        get key() {
          runs += 1;
          return good;
        },
      };
      assert.equal(read(object, 'key'), converted);
      assert.equal(runs, 1);
    });

    it(`${name} swallows what a getter or a trap throws`, () => {
      const thrower = () => {
        throw new Error('from user code');
      };
      assert.equal(read(Object.defineProperty({}, 'key', { get: thrower }), 'key'), fallback);
      assert.equal(read(new Proxy({}, { has: thrower }), 'key'), fallback);
    });
  }

  it('HasMember sees own and inherited keys and runs no getter', () => {
    const object = Object.create({ inherited: 1 }, { own: { get: () => assert.fail() } });
    assert.equal(converter.HasMember(object, 'own'), true);
    assert.equal(converter.HasMember(object, 'inherited'), true);
    assert.equal(converter.HasMember(object, 'absent'), false);
    assert.equal(converter.HasMember({ key: undefined }, 'key'), true);
  });

  it('HasMember is false without an isolate, for a null handle and for an empty key', () => {
    assert.equal(converter.HasMember({ key: 1 }, 'key', true), false);
    assert.equal(converter.HasMember(null, 'key'), false);
    assert.equal(converter.HasMember({ '': 1 }, ''), false);
  });

  it('a key ends at its first zero byte', () => {
    assert.equal(converter.HasMember({ ab: 1 }, 'ab\0cd'), true);
    assert.equal(converter.GetObjectIntValue({ ab: 7 }, 'ab\0cd'), 7);
  });
});

describe('reading one value', () => {
  it('GetIntValue is ToInt32 of a number, else -1', () => {
    assert.equal(converter.GetIntValue('5'), -1);
    assert.equal(converter.GetIntValue(2.9), 2);
    assert.equal(converter.GetIntValue(-2.9), -2);
    assert.equal(converter.GetIntValue(4294967297), 1);
    assert.equal(converter.GetIntValue(2147483648), -2147483648);
    assert.equal(converter.GetIntValue(NaN), 0);
    assert.equal(converter.GetIntValue(Infinity), 0);
    assert.equal(converter.GetIntValue(Object(5)), -1);
  });

  it('GetUIntValue is ToUint32 of a number, else 0', () => {
    assert.equal(converter.GetUIntValue(-1), 4294967295);
    assert.equal(converter.GetUIntValue(4294967297), 1);
    assert.equal(converter.GetUIntValue(2.9), 2);
    assert.equal(converter.GetUIntValue(true), 0);
    assert.equal(converter.GetUIntValue('7'), 0);
  });

  it('GetBooleanValue takes only booleans', () => {
    assert.equal(converter.GetBooleanValue(true), true);
    assert.equal(converter.GetBooleanValue(false), false);
    assert.equal(converter.GetBooleanValue(1), false);
    assert.equal(converter.GetBooleanValue('true'), false);
    assert.equal(converter.GetBooleanValue(Object(true)), false);
  });

  it('GetNumberValue takes only numbers', () => {
    assert.equal(converter.GetNumberValue(-0.5), -0.5);
    assert.equal(converter.GetNumberValue('1'), 0);
    assert.equal(converter.GetNumberValue(1n), 0);
  });

  it('GetStringValue takes primitive strings, up to U+0000', () => {
    assert.equal(converter.GetStringValue('größe 😀'), 'größe 😀');
    assert.equal(converter.GetStringValue('a\0b'), 'a');
    assert.equal(converter.GetStringValue('\0'), '');
    assert.equal(converter.GetStringValue(Object('text')), '');
    assert.equal(converter.GetStringValue(5), '');
    assert.equal(converter.GetStringValueWithoutIsolate('text'), '');
  });

  it('GetCharValue takes what Node accepts as a Buffer', () => {
    assert.equal(converter.GetCharValue(Buffer.from('abc\0')), 'abc');
    assert.equal(converter.GetCharValue(new Uint8Array([97, 0])), 'a');
    assert.equal(converter.GetCharValue(null), null);
    assert.equal(converter.GetCharValue(undefined), null);
    assert.equal(converter.GetCharValue('abc'), null);
    assert.equal(converter.GetCharValue(new ArrayBuffer(4)), null);
  });
});

describe('creating values', () => {
  it('CreateStringParam reads UTF-8; a null text makes the empty string', () => {
    assert.equal(converter.CreateStringParam('größe 😀'), 'größe 😀');
    assert.equal(converter.CreateStringParam('cut\0here'), 'cut');
    assert.equal(converter.CreateStringParam(null), '');
  });

  it('CreateStringParam cuts what is longer than the longest string', () => {
    const { MAX_STRING_LENGTH } = require('node:buffer').constants;
    const longest = 'x'.repeat(MAX_STRING_LENGTH);
    assert.ok(converter.CreateStringParam(longest) === longest, 'the longest is kept whole');
    // Two bytes each, and an odd limit: the cut would fall into a character.
    const cut = converter.CreateStringParam('ü'.repeat(MAX_STRING_LENGTH / 2 + 1));
    assert.equal(cut.length, (MAX_STRING_LENGTH - 4) / 2 + 3);
    assert.equal(cut.slice(-5), 'üü...');
  });

  it('CreateIntParam and CreateInt32Param keep any int', () => {
    for (const value of [0, -1, 2147483647, -2147483648]) {
      assert.equal(converter.CreateIntParam(value), value);
      assert.equal(converter.CreateInt32Param(value), value);
    }
  });

  it('CreateUint32Param reinterprets the value as signed', () => {
    assert.equal(converter.CreateUint32Param(7), 7);
    assert.equal(converter.CreateUint32Param(3000000000), -1294967296);
  });

  it('CreateUint64Param rounds above 2^53', () => {
    assert.equal(converter.CreateUint64Param(2 ** 53), 2 ** 53);
    assert.equal(converter.CreateUint64Param(2 ** 63), 2 ** 63);
  });

  it('CreateBoolParam and CreateDoubleParam', () => {
    assert.equal(converter.CreateBoolParam(true), true);
    assert.equal(converter.CreateBoolParam(false), false);
    assert.equal(converter.CreateDoubleParam(0.1), 0.1);
  });

  it('CreateDataParam copies into a Uint8Array over a buffer of exactly that length', () => {
    const data = converter.CreateDataParam(5);
    assert.ok(data instanceof Uint8Array);
    assert.deepEqual([...data], [0, 1, 2, 3, 4]);
    assert.equal(data.byteOffset, 0);
    assert.equal(data.buffer.byteLength, 5);
    assert.equal(converter.CreateDataParam(0).length, 0);
  });
});

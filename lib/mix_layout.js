'use strict';

const NUMBERS = ['x', 'y', 'width', 'height', 'zOrder'];

/** A number that the native side takes unchanged, as signed or as unsigned 32 bits. */
function integer(place, value) {
  if (Number.isInteger(value) && value >= -(2 ** 31) && value < 2 ** 32) return value;
  throw new TypeError(`${place} must be a 32-bit integer, not ${String(value)}`);
}

function object(place, value) {
  if (typeof value === 'object' && value !== null) return value;
  throw new TypeError(`${place} must be an object, not ${String(value)}`);
}

function checkedStream(stream, index) {
  const place = `mixStreams[${index}]`;
  const { userId, ...rest } = object(place, stream);
  if (typeof userId !== 'string') throw new TypeError(`${place}.userId must be a string`);
  const numbers = NUMBERS.map((key) => [key, integer(`${place}.${key}`, rest[key])]);
  return { userId, ...Object.fromEntries(numbers) };
}

/**
 * Checks a layout for setLiveMixTranscodingConfig and copies it, so that nothing can change between
 * the check and the native call: there a stream that is null would end the process, and a number
 * that is left out would take the previous stream's value.
 *
 * @param {unknown} layout
 * @returns {object | null} a plain copy of what is known; null for null, which ends the mix
 * @throws {TypeError} that names the place
 */
function checkedMixLayout(layout) {
  if (layout === null) return null;
  const { backgroundColor, cropMode, mixStreams } = object('The layout', layout);
  const copy = {};
  if (backgroundColor !== undefined) {
    copy.backgroundColor = integer('backgroundColor', backgroundColor);
  }
  if (cropMode !== undefined) copy.cropMode = integer('cropMode', cropMode);
  if (mixStreams !== undefined) {
    if (!Array.isArray(mixStreams)) throw new TypeError('mixStreams must be an array');
    copy.mixStreams = Array.from(mixStreams, checkedStream);
  }
  return copy;
}

module.exports = { checkedMixLayout };

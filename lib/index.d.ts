import type { LumoLivePushJSWrapper } from './types/wrapper';

export * from './types/events';
export * from './types/live_push';
export * from './types/records';
export * from './types/wrapper';

/** Makes a native object. Arguments are ignored. @throws {AddonLoadError} */
export function createLivePush(): LumoLivePushJSWrapper;

/** The folder that holds the bundled SDK, ready for registPlugin. */
export const sdkDirectory: string;

/** Returns whether the native add-on could be loaded. If not, `loadError` is the reason. */
export function isSupported(): boolean;

/** The reason for which the native add-on cannot be used; undefined when it can. */
export const loadError: AddonLoadError | undefined;

/**
 * The cause for which the native add-on cannot be loaded.
 *
 * - `UNSUPPORTED_PLATFORM`: there is no build for this operating system.
 * - `BUILDING_SNAPSHOT`: a startup snapshot is being built.
 * - `PERMISSION_DENIED`: Node's permission model does not let its files be read.
 * - `ADDONS_DISABLED`: the permission model, or `--no-addons`, forbids native add-ons.
 * - `INSIDE_ARCHIVE`: the add-on was packed into an asar archive.
 * - `BUNDLED`: it is part of a bundle, for which the package is not installed.
 * - `NO_BUILD`: the add-on was not built.
 * - `WORKER_THREAD`: it works in the main thread only.
 * - `WRONG_ARCHITECTURE`: it was built for another machine.
 * - `ABI_MISMATCH`: it was built for another runtime.
 * - `SDK_NOT_FOUND`: NimboSdk.framework is not beside it.
 * - `SDK_MISMATCH`: NimboSdk is of another version.
 * - `MISSING_LIBRARY`: a library of the system is not installed.
 * - `LOAD_FAILED`: anything else; the message has the runtime's words.
 */
export type AddonLoadErrorCode =
  | 'UNSUPPORTED_PLATFORM'
  | 'BUILDING_SNAPSHOT'
  | 'PERMISSION_DENIED'
  | 'ADDONS_DISABLED'
  | 'INSIDE_ARCHIVE'
  | 'BUNDLED'
  | 'NO_BUILD'
  | 'WORKER_THREAD'
  | 'WRONG_ARCHITECTURE'
  | 'ABI_MISMATCH'
  | 'SDK_NOT_FOUND'
  | 'SDK_MISMATCH'
  | 'MISSING_LIBRARY'
  | 'LOAD_FAILED';

/**
 * A failure to load the native add-on, with its cause and a remedy. Importing the package never
 * throws; this is thrown when createLivePush or a class is used.
 */
export class AddonLoadError extends Error {
  private constructor();
  readonly name: 'AddonLoadError';
  readonly code: AddonLoadErrorCode;
  /** The recommended action; the message ends with it too. */
  readonly remedy: string;
  /** The runtime's exception, if the runtime refused to load it. */
  readonly cause?: Error;
}

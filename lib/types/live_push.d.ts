/// <reference lib="esnext.disposable" />

import type { EventMap, PlayerEventMap } from './events';
import type { ExtraConfig, PlayerConfig, ViewOptions } from './records';
import type { LivePushMethods, LumoLivePushJSWrapper } from './wrapper';

/**
 * The reason for the failure of an operation.
 *
 * - `REFUSED`: the add-on refused the call, because of its arguments or because there is no pusher,
 *   player or plug-in.
 * - `SDK_ERROR`: the SDK returned an error, or reported one instead of the outcome.
 * - `INTERRUPTED`: something else ended the operation first, a stop or destroyPusher for example.
 * - `TIMEOUT`: no outcome within `timeoutMs`.
 * - `DISPOSED`: the object is not usable any more.
 */
export type LivePushErrorCode = 'REFUSED' | 'SDK_ERROR' | 'INTERRUPTED' | 'TIMEOUT' | 'DISPOSED';

/** An operation of LivePush or LivePlayer that failed. */
export class LivePushError extends Error {
  private constructor();
  readonly name: 'LivePushError';
  readonly code: LivePushErrorCode;
  /** The method that failed. */
  readonly method: string;
  /** The native method's return value, or the code of the event that reported the failure. */
  readonly nativeCode: unknown;
}

/** The members of an `AbortSignal` that are used; any `AbortSignal` is one. */
export interface AbortSignalLike {
  readonly reason: unknown;
  readonly throwIfAborted: () => void;
  readonly addEventListener: (type: 'abort', listener: () => void) => void;
  readonly removeEventListener: (type: 'abort', listener: () => void) => void;
}

/** Ends the waiting for an outcome, not the operation. */
export interface WaitOptions {
  /** Its reason rejects the promise. */
  signal?: AbortSignalLike;
  /** Milliseconds until "TIMEOUT". Default: no limit. */
  timeoutMs?: number;
}

/** Removes the listener that was added; more calls do nothing. */
export type Unsubscribe = () => void;

/** An exception of a listener, or the reason with which its returned promise was rejected. */
export interface ListenerFailure {
  error: unknown;
  /** The event that the listener was called for. */
  event: string;
}

/** The events of LivePush: the add-on's, and "error". */
export interface LivePushEventMap extends EventMap {
  /** A listener failed. Without a listener for this, it becomes a warning of the process. */
  error: [failure: ListenerFailure];
}

export interface LivePushOptions {
  /** The folder that holds NimboSdk.framework. Default: the bundled SDK's. */
  sdkDirectory?: string;
  /** For setExtraConfig; an object is made JSON. Another SDK's settings are given as their text. */
  extraConfig?: string | ExtraConfig;
}

export interface LivePush extends LivePushMethods {}

/**
 * A live push on top of one native object, with several listeners for an event, errors and
 * promises.
 *
 * Methods have the native ones' names. They throw a LivePushError where those return a failure
 * value, and a TypeError for arguments that those would misunderstand silently. Methods whose
 * outcome is an event return a promise for it.
 */
// biome-ignore lint/suspicious/noUnsafeDeclarationMerging: lib/live_push.js defines the methods.
export class LivePush implements AsyncDisposable {
  /**
   * Makes the native object and calls registPlugin.
   * @throws {AddonLoadError} when the native add-on cannot be loaded
   * @throws {LivePushError} when there is no SDK in `sdkDirectory`
   */
  constructor(options?: LivePushOptions);

  /** The native object. A listener that is added to it takes the place of those of this class. */
  readonly raw: LumoLivePushJSWrapper;

  // ------------------------------------------------------------------------------------- events

  /**
   * Adds a listener; one added twice is called twice. The first listener creates the pusher: set
   * the extra configuration before. An exception of a listener stops neither the others nor the
   * process, see "error".
   * @throws {LivePushError} "REFUSED" when the pusher cannot be created
   */
  on<Name extends keyof LivePushEventMap>(
    name: Name,
    listener: (this: LivePush, ...args: LivePushEventMap[Name]) => unknown,
  ): Unsubscribe;

  /** Adds a listener for the next event only. */
  once<Name extends keyof LivePushEventMap>(
    name: Name,
    listener: (this: LivePush, ...args: LivePushEventMap[Name]) => unknown,
  ): Unsubscribe;

  /** Removes a listener as often as it was added. */
  off<Name extends keyof LivePushEventMap>(
    name: Name,
    listener: (this: LivePush, ...args: LivePushEventMap[Name]) => unknown,
  ): void;

  // ------------------------------------------------------------------------------------ players

  /** Creates a player, and before it the pusher, which its events require. */
  createPlayer(config?: PlayerConfig): LivePlayer;

  // ---------------------------------------------------------------------------------------- end

  /**
   * Ends the pusher, the players, the plug-ins and the listeners, and rejects pending promises with
   * "DISPOSED". Further calls have no effect. The native object's registered listeners still keep the
   * process alive.
   */
  dispose(): void;
  /** The same, for `await using`; present where the runtime has the symbol. */
  [Symbol.asyncDispose](): Promise<void>;
}

/** A player of one remote stream, made by LivePush.createPlayer. */
export class LivePlayer {
  private constructor();

  /** The player ID, as player events and the native methods have it. */
  readonly id: string;

  /** Adds a listener for events that carry this player's ID, and for its frames. */
  on<Name extends keyof PlayerEventMap>(
    name: Name,
    listener: (this: LivePlayer, ...args: PlayerEventMap[Name]) => unknown,
  ): Unsubscribe;
  /** Adds a listener for the next event only. */
  once<Name extends keyof PlayerEventMap>(
    name: Name,
    listener: (this: LivePlayer, ...args: PlayerEventMap[Name]) => unknown,
  ): Unsubscribe;
  /** Removes a listener as often as it was added. */
  off<Name extends keyof PlayerEventMap>(
    name: Name,
    listener: (this: LivePlayer, ...args: PlayerEventMap[Name]) => unknown,
  ): void;

  setPlayView(options: ViewOptions): void;
  /** Fulfilled by "onPlayStarted", rejected by "onPlayError". */
  startPlay(url: string, wait?: WaitOptions): Promise<void>;
  /** Fulfilled by "onPlayStopped". */
  stopPlay(wait?: WaitOptions): Promise<void>;
  /** @param volume percent of the stream's own loudness, 0 to 400; 100 is neutral */
  setRemoteAudioVolume(volume: number): void;
  /** @returns the SDK's play mode */
  getPlayMode(): number;
  /** Destroys the player and rejects its pending promises. Further calls have no effect. */
  dispose(): void;
}

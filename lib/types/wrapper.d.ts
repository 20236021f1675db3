import type { EventMap, EventName } from './events';
import type { WaitOptions } from './live_push';
import type {
  Device,
  LiveMode,
  LogLevel,
  MixLayout,
  MuteOptions,
  PlayerConfig,
  Plugin,
  PluginOptions,
  PushConfig,
  ResolutionOptions,
  ScreenShareEncoderConfig,
  ScreenSource,
  ViewOptions,
  VolumeIndicationOptions,
} from './records';

/**
 * The native object: one pusher, its players and its plug-ins.
 *
 * Use it on the main thread only. Methods return at once and throw nothing: failures are return
 * values, and the outcome of a request arrives as an event. The result types are those of calls with
 * arguments of the declared types; results for other arguments are documented with each method.
 *
 * The pusher is created by the first method that can fail for "no pusher"; a process has one at a
 * time. "No pusher" means that it could not be created.
 */
export class LumoLivePushJSWrapper {
  /**
   * As createLivePush, which is what applications use.
   * @param autoCreatePusher false: this object never has a pusher. Default true.
   */
  constructor(autoCreatePusher?: boolean);

  // ------------------------------------------------------------------------------------- pusher

  /**
   * Sets the text that the SDK is given when the pusher and when players are created: for the
   * default SDK an ExtraConfig as JSON. A pusher that exists is not changed.
   * @returns undefined, also when the argument is no string
   */
  setExtraConfig(text: string): undefined;

  /**
   * Loads the SDK's log output from `directory`/NimboSdk.framework. Before, nothing is logged.
   * @returns whether the library could be opened; false for bad arguments
   */
  registPlugin(directory: string): boolean;

  /**
   * Configures the pusher and attaches its listeners, so that its events are delivered. An invalid
   * configuration is reported when preview or push start.
   * @returns undefined; 1 when there is no pusher; undefined too when the argument is no object
   */
  initPusher(config: PushConfig): undefined | 1;

  /**
   * Stops and destroys the pusher. Listeners stay registered, but receive the next pusher's events
   * only after initPusher.
   */
  destroyPusher(): undefined;

  // --------------------------------------------------------------------------- preview and push

  /**
   * Starts the preview; "onPreviewStarted" follows.
   * @returns 0, the SDK's error code, or 1 for bad arguments or no pusher
   */
  startPreview(options: ViewOptions): number;

  /**
   * As startPreview, by the SDK's asynchronous operation.
   * @returns 0, the SDK's error code, or 1 for bad arguments or no pusher
   */
  startPreviewAsync(options: ViewOptions): number;

  /**
   * Stops the preview; "onPreviewStopped" follows.
   * @returns 0, the SDK's error code, or 1 for no pusher
   */
  stopPreview(): number;

  /**
   * Publishes to an RTMP URL; "onPushStarted" follows, or "onConnectFail" and "onSDKError".
   * @returns 0, the SDK's error code, or 1 for bad arguments or no pusher
   */
  startPush(url: string): number;

  /**
   * As startPush, by the SDK's asynchronous operation.
   * @returns 0, the SDK's error code, or 1 for bad arguments or no pusher
   */
  startPushAsync(url: string): number;

  /**
   * Ends the push; "onPushStopped" follows.
   * @returns 0, the SDK's error code, or 1 for no pusher
   */
  stopPush(): number;

  /** @returns 0, the SDK's error code, or 1 for no pusher */
  startCamera(): number;

  /** @returns 0 whatever the SDK returns, or 1 for no pusher */
  stopCamera(): 0 | 1;

  /**
   * Mutes or unmutes the microphone.
   * @returns 0, the SDK's error code, or 1 for bad arguments or no pusher
   */
  setMute(options: MuteOptions): number;

  /**
   * Replaces the camera's frames by black, or shows them again. Exactly one argument.
   * @returns 0, the SDK's error code, or -901 for no pusher; undefined for bad arguments
   */
  muteLocalCamera(mute: boolean): number;

  // ------------------------------------------------------------------------------------ devices

  /** @returns the microphones; none for no pusher */
  getAudioCaptureList(): Device[];

  /** @returns the chosen microphone's name; "" for none or no pusher */
  getCurrentAudioCaptureName(): string;

  /** @returns the chosen microphone's identifier; "" for none or no pusher */
  getCurrentAudioCaptureID(): string;

  /** @returns 0, the SDK's error code, or 1 for bad arguments or no pusher */
  setCurrentAudioCaptureName(name: string): number;

  /** @returns 0, the SDK's error code, or 1 for bad arguments or no pusher */
  setCurrentAudioCaptureID(id: string): number;

  /** @returns the cameras; none for no pusher */
  getCameraList(): Device[];

  /** @returns the chosen camera's name; "" for none or no pusher */
  getCurrentCameraName(): string;

  /** @returns the chosen camera's identifier; "" for none or no pusher */
  getCurrentCameraID(): string;

  /** @returns 0, the SDK's error code, or 1 for bad arguments or no pusher */
  setCurrentCameraName(name: string): number;

  /** @returns 0, the SDK's error code, or 1 for bad arguments or no pusher */
  setCurrentCameraID(id: string): number;

  // --------------------------------------------------------------------------- encoder and mix

  /**
   * Switches the reports of "onAudioVolumeCallback" and "onActiveSpeaker" on or off.
   * @returns 0, the SDK's error code, or -901 for bad arguments or no pusher
   */
  enableAudioVolumeIndication(options: VolumeIndicationOptions): number;

  /**
   * Sets the maximum video bit rate. Exactly one argument.
   * @param bitrate kbit/s
   * @returns 0, the SDK's error code, or -901 for bad arguments or no pusher
   */
  setTargetVideoBitrate(bitrate: number): number;

  /**
   * Sets the minimum to which a poor network may lower the video bit rate. Exactly one argument.
   * @param bitrate kbit/s
   * @returns 0, the SDK's error code, or -901 for bad arguments or no pusher
   */
  setMinVideoBitrate(bitrate: number): number;

  /**
   * Changes the published frame size, also while live. The default SDK goes on capturing in the size
   * with which capture began and scales.
   * @returns 0, the SDK's error code, or -901 for bad arguments or no pusher
   */
  setResolution(options: ResolutionOptions): number;

  /**
   * Changes the rate of captured and published frames, also while live. Exactly one argument.
   * @param fps frames per second
   * @returns 0, the SDK's error code, or -901 for bad arguments or no pusher
   */
  setFps(fps: number): number;

  /**
   * Mixes several users' streams into the published one; "onSetLiveMixTranscodingConfig" carries
   * the result.
   * @param layout null ends the mix
   * @returns 0, the SDK's error code, or -901 for bad arguments or no pusher
   */
  setLiveMixTranscodingConfig(layout: MixLayout | null): number;

  // ----------------------------------------------------------------------------- screen sharing

  /**
   * Publishes a screen or window instead of the camera. Exactly one argument.
   * @param id unsigned, 32 bits; the `sourceId` of a ScreenSource is accepted as it is
   * @returns 0, the SDK's error code, or -901 for no pusher; undefined for bad arguments
   */
  startScreenShareByDesktopId(id: number): number;

  /** @returns 0, the SDK's error code, or -901 for bad arguments or no pusher */
  setScreenShareEncoderConfiguration(config: Partial<ScreenShareEncoderConfig>): number;

  /** @returns the configuration; an object without keys for no pusher */
  getScreenShareEncoderConfiguration(): ScreenShareEncoderConfig | Record<string, never>;

  /** @returns 0, the SDK's error code, or -901 for no pusher */
  switchScreenToCamera(): number;

  /** @returns 0, the SDK's error code, or -901 for no pusher */
  pauseScreenShare(): number;

  /** @returns 0, the SDK's error code, or -901 for no pusher */
  resumeScreenShare(): number;

  /** @returns what can be shared; nothing for no pusher */
  getScreenShareSourceInfo(): ScreenSource[];

  /** @returns the identifier of what is shared, unsigned; -901 for no pusher */
  getCurrentScreenShareSourceId(): number;

  // -------------------------------------------------------------------------- the SDK as a whole

  /** @returns the SDK's version */
  getSDKVersion(): string;

  /**
   * Whether the SDK can work in `mode`. Exactly one argument.
   * @returns false for bad arguments too
   */
  isSupportLiveMode(mode: LiveMode): boolean;

  /**
   * Writes the log into a directory, at most 512 MiB of it. Exactly one argument.
   * @returns 0, the SDK's error code, or 1 for bad arguments
   */
  setLogDirPath(path: string): number;

  /**
   * Drops lines below `level`. Exactly one argument.
   * @returns undefined, also for bad arguments, which change nothing
   */
  setLogLevel(level: LogLevel): undefined;

  /**
   * Whether the log goes to standard error too. Exactly one argument.
   * @returns undefined, also for bad arguments, which change nothing
   */
  setConsoleEnabled(enabled: boolean): undefined;

  // ------------------------------------------------------------------------------------ players

  /**
   * Creates a player. Its events reach JavaScript only if the pusher exists by then: add a listener
   * first.
   * @returns the player ID; "" when the SDK creates none; undefined for bad arguments
   */
  initPlayer(config: PlayerConfig): string;

  /** Destroys a player. @returns undefined, also when there is no such player */
  destroyPlayer(playerId: string): undefined;

  /** @returns 0, the SDK's error code, or 1 for bad arguments or no such player */
  setPlayView(playerId: string, options: ViewOptions): number;

  /**
   * Plays a stream; "onPlayStarted" or "onPlayError" follows.
   * @returns 0, the SDK's error code, or 1 for bad arguments or no such player
   */
  startPlay(playerId: string, url: string): number;

  /**
   * Stops playing; "onPlayStopped" follows.
   * @returns 0, the SDK's error code, or 1 for bad arguments or no such player
   */
  stopPlay(playerId: string): number;

  /**
   * @param volume percent of the stream's own loudness, 0 to 400; 100 is neutral
   * @returns 0, the SDK's error code, or 1 for bad arguments or no such player
   */
  setRemoteAudioVolume(playerId: string, volume: number): number;

  /**
   * @returns the SDK's play mode, for the default SDK 0 nothing has begun, 1 live, 2 timed; -100 for
   *   bad arguments or no such player
   */
  getPlayMode(playerId: string): number;

  // --------------------------------------------------------------------------- events and log

  /**
   * Registers the one listener of an event; the last registration wins, and none can be undone. A
   * listener that throws reaches "uncaughtException". An object with listeners is never collected,
   * and keeps the process alive. Exactly two arguments.
   * @returns true; -102 for no pusher; false for bad arguments, which raise "onOccurError" too
   */
  addEventListener<Name extends EventName>(
    name: Name,
    listener: (this: LumoLivePushJSWrapper, ...args: EventMap[Name]) => unknown,
  ): boolean | -102;

  /**
   * Writes a line to the SDK's log.
   * @param level default 3, information
   * @returns undefined; -101 for bad arguments, which raise "onOccurError" too
   */
  writeLog(message: string, level?: LogLevel): undefined;

  // ----------------------------------------------------------------------------------- plug-ins

  /** Does nothing. */
  initializePluginManager(): 0;

  /** Unloads every plug-in, after the captured frame that passes them. */
  releasePluginManager(): 0;

  /**
   * Loads a plug-in's library. One that has the same identifier is forgotten, but stays loaded.
   * @returns 0, or 1 for bad arguments, or when the library or the plug-in fails
   */
  addPlugin(options: PluginOptions): 0 | 1;

  /**
   * Unloads a plug-in, after the captured frame that passes it.
   * @returns 0, or 1 when there is none of that identifier
   */
  removePlugin(id: string): 0 | 1;

  /** @returns the plug-ins, ordered by identifier */
  getPlugins(): Plugin[];

  /** @returns 0, or 1 when the plug-in says no, for bad arguments, or when there is none */
  enablePlugin(id: string, enabled: boolean): 0 | 1;

  /**
   * @param parameter what the plug-in understands, often JSON
   * @returns 0, or 1 when the plug-in says no, for bad arguments, or when there is none
   */
  setPluginParameter(id: string, parameter: string): 0 | 1;

  /** Does nothing. */
  getPluginParameter(): 0;
}

/**
 * The methods that LivePush has of the native object. They throw a LivePushError where that returns
 * a failure; those whose outcome is an event return a promise for it.
 */
export interface LivePushMethods {
  // ------------------------------------------------------------------------------------- pusher

  setExtraConfig(text: string): void;
  /** A path inside app.asar is taken as the unpacked one. */
  registPlugin(directory: string): true;
  initPusher(config: PushConfig): void;
  /** Rejects the pending promises of the pusher's operations with "INTERRUPTED". */
  destroyPusher(): void;

  // --------------------------------------------------------------------------- preview and push

  /**
   * Fulfilled by "onPreviewStarted". A failure of a camera or window is reported by "onSystemError"
   * and does not reject: the preview goes on without it. Rejected with the last such error when
   * "onPreviewStopped" comes first: the system lacks what every preview needs.
   */
  startPreview(options: ViewOptions, wait?: WaitOptions): Promise<void>;
  /** As startPreview, by the SDK's asynchronous operation. */
  startPreviewAsync(options: ViewOptions, wait?: WaitOptions): Promise<void>;
  /** Fulfilled by "onPreviewStopped". */
  stopPreview(wait?: WaitOptions): Promise<void>;
  /**
   * Fulfilled by "onPushStarted", rejected by "onConnectFail" with the code and text of the
   * "onSDKError" beside it.
   */
  startPush(url: string, wait?: WaitOptions): Promise<void>;
  /** As startPush, by the SDK's asynchronous operation. */
  startPushAsync(url: string, wait?: WaitOptions): Promise<void>;
  /** Fulfilled by "onPushStopped". */
  stopPush(wait?: WaitOptions): Promise<void>;
  startCamera(): void;
  stopCamera(): void;
  setMute(options: MuteOptions): void;
  muteLocalCamera(mute: boolean): void;

  // ------------------------------------------------------------------------------------ devices

  getAudioCaptureList(): Device[];
  getCurrentAudioCaptureName(): string;
  getCurrentAudioCaptureID(): string;
  setCurrentAudioCaptureName(name: string): void;
  setCurrentAudioCaptureID(id: string): void;
  getCameraList(): Device[];
  getCurrentCameraName(): string;
  getCurrentCameraID(): string;
  setCurrentCameraName(name: string): void;
  setCurrentCameraID(id: string): void;

  // --------------------------------------------------------------------------- encoder and mix

  enableAudioVolumeIndication(options: VolumeIndicationOptions): void;
  /** @param bitrate kbit/s */
  setTargetVideoBitrate(bitrate: number): void;
  /** @param bitrate kbit/s */
  setMinVideoBitrate(bitrate: number): void;
  setResolution(options: ResolutionOptions): void;
  /** @param fps frames per second */
  setFps(fps: number): void;
  /**
   * Fulfilled or rejected by "onSetLiveMixTranscodingConfig". Rejected with a TypeError, before the
   * native side sees it, when a stream or one of its keys is missing or no 32-bit integer.
   * @param layout null ends the mix
   */
  setLiveMixTranscodingConfig(layout: MixLayout | null, wait?: WaitOptions): Promise<void>;

  // ----------------------------------------------------------------------------- screen sharing

  startScreenShareByDesktopId(id: number): void;
  setScreenShareEncoderConfiguration(config: Partial<ScreenShareEncoderConfig>): void;
  getScreenShareEncoderConfiguration(): ScreenShareEncoderConfig;
  switchScreenToCamera(): void;
  pauseScreenShare(): void;
  resumeScreenShare(): void;
  getScreenShareSourceInfo(): ScreenSource[];
  getCurrentScreenShareSourceId(): number;

  // -------------------------------------------------------------------------- the SDK as a whole

  getSDKVersion(): string;
  isSupportLiveMode(mode: LiveMode): boolean;
  setLogDirPath(path: string): void;
  setLogLevel(level: LogLevel): void;
  setConsoleEnabled(enabled: boolean): void;
  writeLog(message: string, level?: LogLevel): void;

  // ----------------------------------------------------------------------------------- plug-ins

  initializePluginManager(): void;
  releasePluginManager(): void;
  /** A path inside app.asar is taken as the unpacked one. */
  addPlugin(options: PluginOptions): void;
  removePlugin(id: string): void;
  getPlugins(): Plugin[];
  enablePlugin(id: string, enabled: boolean): void;
  setPluginParameter(id: string, parameter: string): void;
  getPluginParameter(): void;
}

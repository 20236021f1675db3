// The objects that methods take and return. Sizes are in pixels, video bit rates in kbit/s, frame
// rates in frames per second. A key that is left out keeps its default; a key whose value has a
// wrong type does not: it becomes 0, -1 (signed numbers), false, "" or null. Unknown keys are
// ignored.

/** The level of a log line: trace, debug, verbose, information, warning, failure. */
export type LogLevel = 0 | 1 | 2 | 3 | 4 | 5;

/** 0: publishing over RTMP. 1: publishing and playing at once. */
export type LiveMode = 0 | 1;

/**
 * The bytes of a native window handle, as Electron's `getNativeWindowHandle()` returns them; null for
 * none. On X11 a 32-bit window identifier in host byte order. The bytes are read during the call;
 * the window must live until the preview or the player has stopped.
 */
export type ViewHandle = ArrayBufferView | null;

/**
 * The default SDK's settings, as JSON for setExtraConfig. Numbers are whole. A value of a wrong type
 * or out of its range is refused when the pusher or a player is created. See `docs/sdk.md`.
 */
export interface ExtraConfig {
  /** "" the first camera, "test" the test pattern, `file:<path>`, or an identifier. Default "". */
  camera?: string;
  /**
   * "" a file camera's audio or the default microphone, "test" a tone, "file", "default", or an
   * identifier. Default "".
   */
  microphone?: string;
  /** Reconnecting after the connection to the server broke. */
  reconnect?: ReconnectSettings;
  /** Milliseconds without progress until "onSendDataTimeout", 500 to 5000. Default 4000. */
  sendTimeoutMs?: number;
  /** The delay of players of live streams. */
  latency?: LatencySettings;
  /** Limits on what a player accepts from a server or a file. */
  limits?: LimitSettings;
  /** Limits on the addresses that a played stream may refer to. */
  sources?: SourceSettings;
  /** A PEM file with the trusted certificate authorities; "", the default, for the system's. */
  trustedCertificates?: string;
}

export interface ReconnectSettings {
  /** Attempts to connect again, 0 to 1000; 0: the push ends. Default 20. */
  maxAttempts?: number;
  /** Milliseconds before the first attempt, 0 to 600000; doubled each time. Default 500. */
  firstDelayMs?: number;
  /** The most that it is doubled to, 0 to 600000. Default 10000. */
  maxDelayMs?: number;
}

export interface LatencySettings {
  /** The smallest jitter buffer in milliseconds, 0 to 10000. Default 20. */
  minMs?: number;
  /** The largest in milliseconds, `minMs` to 10000. Default 600. */
  maxMs?: number;
  /** "lowest": each frame as soon as it is decoded. Default "default". */
  preset?: 'default' | 'lowest';
}

export interface LimitSettings {
  /** The largest frame, width by height, 65536 to 268435456. Default 9437184 (4096x2304). */
  maxFramePixels?: number;
  /** The most bytes that may wait to be decoded, 1048576 to 1073741824. Default 12582912. */
  maxQueuedBytes?: number;
}

export interface SourceSettings {
  /** A server at a public address may name local ones. Default false. */
  localFromPublic?: boolean;
  /** An `https` server may name `http` addresses. Default false. */
  httpFromHttps?: boolean;
  /** An `srt` address may have the mode `listener` or `rendezvous`. Default false. */
  srtListener?: boolean;
  /** The largest HLS playlist, 16 to 65536. Default 2048. */
  maxPlaylistKiB?: number;
  /** The largest headers of an HTTP response, 4 to 1024. Default 64. */
  maxHeaderKiB?: number;
  /** The largest ID3 and APE tags in front of media, 16 to 262144. Default 8192. */
  maxTagKiB?: number;
}

/** Capture, encoding and publishing of a pusher. The limits are those of the default SDK. */
export interface PushConfig {
  /** Default 0. The default SDK knows 0 only. */
  mLivePushMode?: LiveMode;
  /** Default false. No effect in the default SDK. */
  externMainStream?: boolean;
  /** 0: encodes in hardware where there is some. Default 1: in software. */
  mVideoEncodeMode?: number;
  /** Default 1. No effect in the default SDK. */
  mAudioEncodeMode?: number;
  /** Publishes audio only. Default false. */
  mAudioOnly?: boolean;
  /** Mirrors the captured frames. Default false. */
  mPushMirror?: boolean;
  /** Hz, a rate of AAC from 8000 to 48000. Default 48000. */
  mAudioSampleRate?: number;
  /** bit/s (not kbit/s), 8000 to 320000. Default 64000. */
  audioBitRate?: number;
  /** 1 or 2. Default 2. */
  mAudioChannels?: number;
  /**
   * Resolution code, 0 to 7: 320x180, 424x240, 640x360, 848x480, 960x540, 1280x720, 1920x1080,
   * 2560x1440. Default 3.
   */
  mResolution?: number;
  /** kbit/s, 50 to 50000; -1, the default, for one that fits the frame size. */
  mTargetVideoBitrate?: number;
  /** kbit/s, 50 to 50000; -1, the default, for a quarter of the target. */
  mMinVideoBitrate?: number;
  /** kbit/s, 50 to 50000; -1, the default, for the target. */
  mInitialVideoBitrate?: number;
  /** 16 to 4096 pixels; 0, the default, with `height` 0: as `mResolution` says. */
  width?: number;
  /** 16 to 4096 pixels; 0, the default, with `width` 0: as `mResolution` says. */
  height?: number;
  /** Frames per second, 1 to 60. Default 15. */
  frameRate?: number;
  /** Seconds between key frames, 1 to 60. Default 2. */
  mVideoEncodeGop?: number;
  /** Default 0. No effect in the default SDK. */
  mPreviewOrientation?: number;
  /** Default 0. No effect in the default SDK. */
  audioSceneMode?: number;
  /** Lowers the bit rate, down to the minimum, while the network is poor. Default true. */
  enableBitrateControl?: boolean;
  /** Default false. No effect in the default SDK. */
  enableAutoResolution?: boolean;
  /** Path of the image that is published while the push is paused. Default "". */
  mPausePushImagePath?: string;
  /** Path of the image that is published while the network is poor. Default "". */
  mNetworkPoorPushImagePath?: string;
}

/** A view: a window and its size. */
export interface ViewOptions {
  /** Default null: no window. */
  view?: ViewHandle;
  /** Pixels. Default 0. */
  width?: number;
  /** Pixels. Default 0. */
  height?: number;
}

export interface MuteOptions {
  /** Default false. */
  mute?: boolean;
  /** The SDK's mute mode. Default 0. */
  mode?: number;
}

/** A microphone or camera. */
export interface Device {
  /** For people. */
  deviceName: string;
  /** Stable identifier. */
  deviceId: string;
  /** The SDK's code of how it is attached. */
  deviceTransportType: number;
}

export interface VolumeIndicationOptions {
  /** Milliseconds between reports, 20 to 10000; 0 or less, the default, switches them off. */
  interval?: number;
  /** Smoothing factor, 0 (none) to 10. Default 0. */
  smooth?: number;
  /** Other than 0: report voice activity too. A number: `true` counts as -1. Default 0. */
  reportVad?: number;
}

export interface ResolutionOptions {
  /** Resolution code, see `PushConfig.mResolution`. Default 0. */
  resolution?: number;
  /** Pixels. Default 0. */
  width?: number;
  /** Pixels. Default 0. */
  height?: number;
}

/** One stream's place in a mix. Leave no number out: it would take the previous stream's value. */
export interface MixStream {
  /** In the default SDK "local", a player's ID or the URL that a player plays. */
  userId: string;
  /** Pixels from the left. */
  x: number;
  /** Pixels from the top. */
  y: number;
  /** Pixels. */
  width: number;
  /** Pixels. */
  height: number;
  /** Higher ones cover lower ones. */
  zOrder: number;
}

/** A layout that mixes several users' streams into the published one. */
export interface MixLayout {
  /** The SDK's colour number, in the default SDK 0xRRGGBB. Default 0. */
  backgroundColor?: number;
  /** The SDK's crop mode, in the default SDK 0 fit, 1 crop, 2 stretch. Default 1. */
  cropMode?: number;
  /** Default: none. An element that is null or undefined ends the process. */
  mixStreams?: MixStream[];
}

/** Encoding of a shared screen. */
export interface ScreenShareEncoderConfig {
  /** Resolution code, see `PushConfig.mResolution`. Default 3. */
  mResolution: number;
  /** Pixels; 0, the default: as `mResolution` says. */
  width: number;
  /** Pixels; 0, the default: as `mResolution` says. */
  height: number;
  /** Frames per second; 0, the default: 15. */
  frameRate: number;
  /** kbit/s. Default 512. */
  bitrate: number;
  /** Seconds between key frames. Default 2. */
  mVideoEncodeGop: number;
}

/** A screen or window that can be shared. */
export interface ScreenSource {
  sourceName: string;
  /** Signed: an identifier of 2147483648 or more is negative here. */
  sourceId: number;
}

/** Presentation of a player's stream in its view. */
export interface PlayerConfig {
  /** Default false. */
  isMirror?: boolean;
  /** Default false. */
  isFullScreen?: boolean;
  /** 0, the default: whole frame, with borders. 1: cut to fill the view. 2: stretched. */
  renderMode?: 0 | 1 | 2;
  /** In quarters: 0, 90, 180, 270 degrees. Default 0. */
  rotation?: 0 | 1 | 2 | 3;
}

export interface PluginOptions {
  /** The name by which the plug-in is known from now on; not empty. */
  id: string;
  /** The library's file, as the dynamic linker takes it; not empty. */
  path: string;
  /** 1 or more. Default 1. */
  type?: number;
}

/** A loaded plug-in, or an identifier that was asked for in vain. */
export interface Plugin {
  id: string;
}

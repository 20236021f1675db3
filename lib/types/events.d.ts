// The events and what they carry. Listeners are called on the JavaScript thread, one event at a
// time, in the order in which the SDK raised them, and never inside the call that caused them.

/** An error of the SDK. */
export interface SdkError {
  msg: string;
  /** The default SDK's codes are in `sdk/include/NimboSdk/LumoLiveResult.h`. */
  code: number;
}

/** The SDK's result for a mix layout. */
export interface MixVerdict {
  isSuccess: boolean;
  /** The reason for a refusal. */
  msg: string;
}

/** Names the player that an event is about. */
export interface PlayerEvent {
  playerID: string;
}

export interface PlayError extends PlayerEvent {
  msg: string;
  /** The default SDK's codes are in `docs/sdk.md`. */
  code: number;
}

export interface NetworkQualityChange extends PlayerEvent {
  /** 0 unknown, 1 excellent, 2 good, 3 poor, 4 bad, 5 down. */
  quality: 0 | 1 | 2 | 3 | 4 | 5;
}

/** Once-a-second figures of a player. */
export interface PlayerStatistics extends PlayerEvent {
  userId: string;
  /** The same text as `userId`. */
  channelId: string;
  /** Pixels. */
  videoWidth: number;
  /** Pixels. */
  videoHeight: number;
  /** Frames per second. */
  decodeFps: number;
  /** Frames per second. */
  renderFps: number;
  /** kbit/s. */
  videoBitrate: number;
  /** kbit/s. */
  audioBitrate: number;
  /** Percent. */
  audioLossRate: number;
  /** Percent. */
  lossRate: number;
}

/** The owner of the audio: 0 the local user, 1 the mix of all, 2 a remote user. */
export type UserType = 0 | 1 | 2;

export interface ActiveSpeaker extends PlayerEvent {
  userType: UserType;
  /** "" unless `userType` is 2. */
  playerID: string;
}

/**
 * The first record of a volume report, with the report's totals. The local user and each player
 * that plays have reports of their own.
 */
export interface AudioVolume extends PlayerEvent {
  userType: UserType;
  /** "" unless `userType` is 2. */
  playerID: string;
  /** Whether the user has spoken since the last report; false unless voice reports are enabled. */
  speechState: boolean;
  /** 0 (silent) to 255 (full scale). */
  volume: number;
  /** The volumes of all users together, 0 to 255. */
  sumVolume: number;
  /** The number of records in the report. */
  volumeInfoCount: number;
  /** The SDK's total of the report; the default SDK's is `sumVolume`. */
  totalVolume: number;
}

/**
 * Node's `Buffer`. In programs that are compiled without `@types/node`, the `Uint8Array` that every
 * `Buffer` is.
 */
export type Bytes = typeof globalThis extends { Buffer: { alloc(size: number): infer B } }
  ? B
  : Uint8Array;

/**
 * A raw video frame, I420: a Y plane of `height` rows, U and V planes of `(height + 1) / 2` rows.
 * The bytes are a copy of JavaScript's own. A row of the Y plane has `data_y_len / height` bytes.
 *
 * Every frame, captured or played, has one form: BT.709 matrix, limited range (luma 16 to 235,
 * chroma 16 to 240), BT.709 primaries and transfer, chroma sited left, square pixels, progressive.
 * As a WebCodecs color space: `{ matrix: 'bt709', primaries: 'bt709', transfer: 'bt709', fullRange:
 * false }`.
 */
export interface VideoFrame {
  /** 0 camera, 1 screen. */
  source: 0 | 1;
  /** "preview" for captured frames, else the player ID. */
  user_id: string;
  /**
   * Pixels, a multiple of 8. A player's frame of another width has its last column repeated; a
   * captured one, whose width was asked for, stands in the middle with zeros beside it.
   */
  width: number;
  /** Pixels. */
  height: number;
  data_y: Bytes;
  /** Bytes. */
  data_y_len: number;
  data_u: Bytes;
  /** Bytes. */
  data_u_len: number;
  data_v: Bytes;
  /** Bytes. */
  data_v_len: number;
}

/** Every event, with the arguments of its listener. */
export interface EventMap {
  /** A device, a file or another resource of the system failed. */
  onSystemError: [error: SdkError];
  /** An operation of the SDK failed. */
  onSDKError: [error: SdkError];
  /** The preview shows its first frame. */
  onPreviewStarted: [];
  /** The preview has ended. */
  onPreviewStopped: [];
  /** The server has accepted the stream. */
  onPushStarted: [];
  /** The push has ended. */
  onPushStopped: [];
  /** The first frame was sent to the server. */
  onFirstFramePushed: [];
  /** The result for the layout of setLiveMixTranscodingConfig. */
  onSetLiveMixTranscodingConfig: [result: MixVerdict];
  /** A player has started to play. */
  onPlayStarted: [player: PlayerEvent];
  /** A player has stopped. */
  onPlayStopped: [player: PlayerEvent];
  /** A player shows its first frame. */
  onFirstRemoteVideoFrameDrawn: [player: PlayerEvent];
  /** A player failed. */
  onPlayError: [error: PlayError];
  /** The quality of a player's connection has changed. */
  onNetworkQualityChange: [change: NetworkQualityChange];
  /** Once a second for each playing player. */
  onPlayerStatistics: [statistics: PlayerStatistics];
  /** A volume report, see enableAudioVolumeIndication. */
  onAudioVolumeCallback: [volume: AudioVolume];
  /** The active speaker has changed. */
  onActiveSpeaker: [speaker: ActiveSpeaker];
  /** The connection to the server is too slow for the stream. */
  onNetworkPoor: [];
  /** The connection to the server is good again. */
  onNetworkRecovery: [];
  /** After "onConnectionLost": the SDK tries to reconnect, and the push goes on. */
  onReconnectStart: [];
  /** The connection broke. Unless "onReconnectStart" follows, the push has ended. */
  onConnectionLost: [];
  /** The SDK has given up reconnecting, and the push has ended; "onSDKError" carries the reason. */
  onReconnectFail: [];
  /** The SDK has reconnected, and the server accepts frames. */
  onReconnectSucceed: [];
  /** The server has not accepted data for too long. */
  onSendDataTimeout: [];
  /** The push could not start; "onSDKError" carries the reason. */
  onConnectFail: [];
  /** The server denies the stream, or the push URL has expired. */
  onPushURLAuthenticationOverdue: [];
  /** The stream's metadata were sent: on each new connection, and when the video format changes. */
  onSendMessage: [];
  /** Video and audio frames were dropped, because the network is too slow for them. */
  onPacketsLost: [];
  /** Reserved, never raised: see "onVideoRenderData". */
  onCaptureVideoSample: [sample: never];
  /** Reserved, never raised: see "onVideoRenderData". */
  onReceivedRemoteVideoSample: [sample: never];
  /**
   * New raw frames of one owner, the camera's before the screen's; sometimes none. They are collected
   * every 33 ms; of several frames in between only the newest is delivered. Players output their
   * frames evenly, so nearly all frames of a stream of 30 a second are delivered; a busy machine
   * loses some. Frames are delivered from the first registration of this event on.
   */
  onVideoRenderData: [frames: VideoFrame[]];
  /** The add-on's own error: -101, a method was called with arguments of wrong number or type. */
  onOccurError: [code: number];
}

export type EventName = keyof EventMap;

/** The events of one player: those that name it, and its frames. */
export type PlayerEventMap = {
  [Name in EventName as EventMap[Name] extends [never]
    ? never
    : EventMap[Name] extends [PlayerEvent] | [VideoFrame[]]
      ? Name
      : never]: EventMap[Name];
};

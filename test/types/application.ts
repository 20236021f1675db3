// A sample application. It is compiled, never run.

import {
  AddonLoadError,
  createLivePush,
  type Device,
  type ExtraConfig,
  isSupported,
  LivePush,
  LivePushError,
  LumoLivePushJSWrapper,
  loadError,
  type MixLayout,
  type Plugin,
  type PushConfig,
  type ScreenSource,
  sdkDirectory,
  type VideoFrame,
} from 'lumolivepush-electron-sdk';

const windowHandle: Buffer = Buffer.alloc(4);
const config: PushConfig = { mResolution: 5, frameRate: 30, mTargetVideoBitrate: 2500 };
const settings: ExtraConfig = {
  camera: 'test',
  microphone: 'test',
  reconnect: { maxAttempts: 5, firstDelayMs: 100, maxDelayMs: 1000 },
  sendTimeoutMs: 2000,
  latency: { maxMs: 300 },
  limits: { maxFramePixels: 1920 * 1080, maxQueuedBytes: 2 ** 22 },
  sources: { localFromPublic: false, httpFromHttps: false, srtListener: true },
  trustedCertificates: '/etc/authorities.pem',
};
const layout: MixLayout = {
  backgroundColor: 0,
  cropMode: 1,
  mixStreams: [{ userId: 'anna', x: 0, y: 0, width: 640, height: 360, zOrder: 1 }],
};

export function supported(): boolean {
  if (loadError instanceof AddonLoadError) console.log(loadError.code, loadError.remedy);
  return isSupported();
}

// -------------------------------------------------------------------------- the native interface

export function useMethods(): number[] {
  const live: LumoLivePushJSWrapper = createLivePush();
  const detached = new LumoLivePushJSWrapper(false);
  const registered: boolean = live.registPlugin(sdkDirectory);
  live.setExtraConfig(JSON.stringify(settings));
  const refused: undefined | 1 = live.initPusher(config);
  const stopped: 0 | 1 = live.stopCamera();
  const codes: number[] = [
    live.startPreview({ view: windowHandle, width: 640, height: 360 }),
    live.startPreviewAsync({ view: null }),
    live.stopPreview(),
    live.startPush('rtmp://host/app/stream'),
    live.startPushAsync('rtmp://host/app/stream'),
    live.stopPush(),
    live.startCamera(),
    live.setMute({ mute: true, mode: 0 }),
    live.muteLocalCamera(true),
    live.setCurrentAudioCaptureName('microphone'),
    live.setCurrentAudioCaptureID('id'),
    live.setCurrentCameraName('camera'),
    live.setCurrentCameraID('id'),
    live.enableAudioVolumeIndication({ interval: 300, smooth: 3, reportVad: 1 }),
    live.setTargetVideoBitrate(2000),
    live.setMinVideoBitrate(500),
    live.setResolution({ resolution: 4, width: 0, height: 0 }),
    live.setFps(25),
    live.setLiveMixTranscodingConfig(layout),
    live.setLiveMixTranscodingConfig(null),
    live.startScreenShareByDesktopId(1),
    live.setScreenShareEncoderConfiguration({ bitrate: 1000, mVideoEncodeGop: 2 }),
    live.switchScreenToCamera(),
    live.pauseScreenShare(),
    live.resumeScreenShare(),
    live.getCurrentScreenShareSourceId(),
    live.setLogDirPath('/tmp/log'),
  ];
  const devices: Device[] = [...live.getAudioCaptureList(), ...live.getCameraList()];
  const sources: ScreenSource[] = live.getScreenShareSourceInfo();
  const screen = live.getScreenShareEncoderConfiguration();
  const names: string[] = [
    live.getCurrentAudioCaptureName(),
    live.getCurrentAudioCaptureID(),
    live.getCurrentCameraName(),
    live.getCurrentCameraID(),
    live.getSDKVersion(),
  ];
  const interactive: boolean = live.isSupportLiveMode(1);
  live.setLogLevel(3);
  live.setConsoleEnabled(true);
  live.writeLog('hello');
  live.writeLog('hello', 5);
  console.log(registered, refused, stopped, devices, sources, screen.width, names, interactive);
  detached.destroyPusher();
  return codes;
}

export function usePlayers(live: LumoLivePushJSWrapper): number[] {
  const id: string = live.initPlayer({ isMirror: false, renderMode: 1, rotation: 0 });
  const codes = [
    live.setPlayView(id, { view: windowHandle, width: 640, height: 360 }),
    live.startPlay(id, 'rtmp://host/app/stream'),
    live.stopPlay(id),
    live.setRemoteAudioVolume(id, 100),
    live.getPlayMode(id),
  ];
  live.destroyPlayer(id);
  return codes;
}

export function usePlugins(live: LumoLivePushJSWrapper): Plugin[] {
  const codes: (0 | 1)[] = [
    live.initializePluginManager(),
    live.addPlugin({ id: 'mirror', path: '/opt/mirror.so', type: 1 }),
    live.enablePlugin('mirror', true),
    live.setPluginParameter('mirror', '{}'),
    live.getPluginParameter(),
    live.removePlugin('mirror'),
    live.releasePluginManager(),
  ];
  console.log(codes);
  return live.getPlugins();
}

export function listen(live: LumoLivePushJSWrapper): void {
  const result: boolean | -102 = live.addEventListener('onPushStarted', function started() {
    this.stopPush();
  });
  console.log(result);
  live.addEventListener('onSystemError', (error) => console.log(error.code, error.msg));
  live.addEventListener('onSDKError', (error) => console.log(error.code.toFixed(), error.msg));
  live.addEventListener('onPreviewStarted', () => {});
  live.addEventListener('onPreviewStopped', () => {});
  live.addEventListener('onPushStopped', () => {});
  live.addEventListener('onFirstFramePushed', () => {});
  live.addEventListener('onSetLiveMixTranscodingConfig', ({ isSuccess, msg }) => {
    if (!isSuccess) console.log(msg.length);
  });
  live.addEventListener('onPlayStarted', ({ playerID }) => console.log(playerID.length));
  live.addEventListener('onPlayStopped', ({ playerID }) => console.log(playerID.length));
  live.addEventListener('onFirstRemoteVideoFrameDrawn', (e) => console.log(e.playerID.length));
  live.addEventListener('onPlayError', (e) => e.code);
  live.addEventListener('onNetworkQualityChange', (e) => e.quality === 5);
  live.addEventListener('onPlayerStatistics', (e) => [
    ...[e.playerID, e.userId, e.channelId, e.videoWidth, e.videoHeight, e.decodeFps, e.renderFps],
    ...[e.videoBitrate, e.audioBitrate, e.audioLossRate, e.lossRate],
  ]);
  live.addEventListener('onAudioVolumeCallback', (e) => [
    ...[e.userType, e.playerID, e.speechState, e.volume, e.sumVolume],
    ...[e.volumeInfoCount, e.totalVolume],
  ]);
  live.addEventListener('onActiveSpeaker', (e) => [e.userType, e.playerID]);
  live.addEventListener('onNetworkPoor', () => {});
  live.addEventListener('onNetworkRecovery', () => {});
  live.addEventListener('onReconnectStart', () => {});
  live.addEventListener('onConnectionLost', () => {});
  live.addEventListener('onReconnectFail', () => {});
  live.addEventListener('onReconnectSucceed', () => {});
  live.addEventListener('onSendDataTimeout', () => {});
  live.addEventListener('onConnectFail', () => {});
  live.addEventListener('onPushURLAuthenticationOverdue', () => {});
  live.addEventListener('onSendMessage', () => {});
  live.addEventListener('onPacketsLost', () => {});
  live.addEventListener('onCaptureVideoSample', (sample: never) => sample);
  live.addEventListener('onReceivedRemoteVideoSample', (sample: never) => sample);
  live.addEventListener('onVideoRenderData', ([frame]: VideoFrame[]) => frame?.data_y.readUInt8(0));
  live.addEventListener('onOccurError', (code) => code.toFixed());
}

// ------------------------------------------------------------------------------------- LivePush

export async function publish(url: string, signal: AbortSignal): Promise<void> {
  await using live = new LivePush({ extraConfig: settings });
  live.on('error', ({ error, event }) => console.log(event, error));
  const unsubscribe = live.on('onNetworkPoor', function poor() {
    this.setTargetVideoBitrate(500);
  });
  live.once('onFirstFramePushed', () => unsubscribe());
  live.initPusher(config);
  await live.startPreview({ view: windowHandle }, { signal });
  try {
    await live.startPush(url, { timeoutMs: 10_000 });
  } catch (error) {
    if (error instanceof LivePushError) console.log(error.method, error.code, error.nativeCode);
  }
  await live.setLiveMixTranscodingConfig(layout);
  const player = live.createPlayer({ renderMode: 2 });
  player.on('onPlayError', (error) => console.log(error.msg));
  await player.startPlay(url);
  const width: number = live.getScreenShareEncoderConfiguration().width;
  const code: number = live.raw.setFps(width);
  console.log(code);
  await live.stopPush();
}

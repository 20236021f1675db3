// Enumerations and records shared by the pusher and the player.
//
// Every enumeration has a fixed 32-bit underlying type: applications pass any 32-bit number, and
// such a number must survive the cast even when it names no member.
//
// Units, everywhere unless a field says otherwise: sizes and strides in pixels and bytes, bit
// rates of video in kbit/s, of audio in bit/s, frame rates in frames per second, key-frame
// intervals (GOP) in seconds, times in milliseconds.

#pragma once

#include <cstdint>

#include "NimboSdk/LumoRtcString.h"

namespace LumoRtc {

class LumoLivePlayer;

// ------------------------------------------------------------------------------ enumerations

enum LumoLivePushLogLevel : int32_t {
  kLumoLivePushLogLevelTrace = 0,
  kLumoLivePushLogLevelDebug = 1,
  kLumoLivePushLogLevelVerbose = 2,
  kLumoLivePushLogLevelInfo = 3,
  kLumoLivePushLogLevelWarning = 4,
  kLumoLivePushLogLevelError = 5,
};

enum LumoLiveMode : uint32_t {
  kLumoLiveModeBasic = 0,        // publishing over RTMP
  kLumoLiveModeInteractive = 1,  // publishing and playing at once
};

enum LumoLiveVideoSource : uint32_t {
  kLumoLiveVideoSourceCamera = 0,  // passes through the video-frame plug-ins
  kLumoLiveVideoSourceScreen = 1,  // cached beside the camera's frame
};

enum LumoLiveUserVolumeEnum : int32_t {
  kLumoLiveUserVolumeLocal = 0,
  kLumoLiveUserVolumeMixed = 1,
  kLumoLiveUserVolumeRemote = 2,  // the record names a player
};

enum LumoLiveNetworkQuality : uint32_t {
  kLumoLiveNetworkQualityUnknown = 0,
  kLumoLiveNetworkQualityExcellent = 1,
  kLumoLiveNetworkQualityGood = 2,
  kLumoLiveNetworkQualityPoor = 3,
  kLumoLiveNetworkQualityBad = 4,
  kLumoLiveNetworkQualityDown = 5,
};

// Carries the numbers of LumoLiveErrorCode, see LumoLiveResult.h.
enum LumoLivePlayError : int32_t {
  kLumoLivePlayErrorNone = 0,
};

// The result of a player's getPlayMode.
enum LumoLivePlayMode : int32_t {
  kLumoLivePlayModeNone = 0,   // nothing plays
  kLumoLivePlayModeLive = 1,   // shown as it arrives, with the least delay
  kLumoLivePlayModeTimed = 2,  // shown by its time stamps: files and HLS
};

enum LumoLiveRenderMode : uint32_t {
  kLumoLiveRenderModeFit = 0,      // whole frame, with borders
  kLumoLiveRenderModeCrop = 1,     // view filled, frame cropped
  kLumoLiveRenderModeStretch = 2,  // view filled, frame distorted
};

enum LumoLiveRotation : uint32_t {
  kLumoLiveRotation0 = 0,
  kLumoLiveRotation90 = 1,
  kLumoLiveRotation180 = 2,
  kLumoLiveRotation270 = 3,
};

// ------------------------------------------------------------------------------------ records

// How a pusher captures, encodes and publishes. Passed by value: order, width and signedness of
// the fields are part of the binary interface. A bit rate of -1 means "not set".
struct LumoLivePushConfig {
  uint32_t mLivePushMode = 0;
  bool externMainStream = false;
  uint32_t mVideoEncodeMode = 1;
  uint32_t mAudioEncodeMode = 1;
  bool mAudioOnly = false;
  bool mPushMirror = false;
  uint32_t mAudioSampleRate = 48000;  // Hz
  int32_t audioBitRate = 64000;       // bit/s
  uint32_t mAudioChannels = 2;
  uint32_t mResolution = 3;           // resolution code
  int32_t mTargetVideoBitrate = -1;   // kbit/s
  int32_t mMinVideoBitrate = -1;      // kbit/s
  int32_t mInitialVideoBitrate = -1;  // kbit/s
  uint32_t width = 0;                 // 0: as the resolution code says
  uint32_t height = 0;                // 0: as the resolution code says
  uint32_t frameRate = 15;            // frames per second
  uint32_t mVideoEncodeGop = 2;       // seconds between key frames
  uint32_t mPreviewOrientation = 0;
  uint32_t audioSceneMode = 0;
  bool enableBitrateControl = true;
  bool enableAutoResolution = false;
  String mPausePushImagePath{nullptr};
  String mNetworkPoorPushImagePath{nullptr};
};

// One capture device.
struct LumoLiveDeviceInfo {
  String deviceName;  // display name
  String deviceId;    // stable identifier
  int32_t transportType = 0;
};

// One shareable screen or window.
struct LumoLiveScreenSourceInfo {
  int64_t sourceId = 0;
  String sourceName;
};

// How a shared screen is encoded.
struct LumoLiveScreenShareEncoderConfig {
  uint32_t mResolution;      // resolution code
  int32_t width;             // 0: as the resolution code says
  int32_t height;            // 0: as the resolution code says
  uint32_t frameRate;        // frames per second
  int32_t bitrate;           // kbit/s
  uint32_t mVideoEncodeGop;  // seconds between key frames
};

// One stream's place in a mix, in pixels of the published frame; higher ones cover lower ones. The
// user is the local one ("" or "local"), a player (the text of its pointer) or a URL that a player
// plays. The numbers have no defaults: a caller that reuses one working object for several streams
// relies on them staying what they were.
struct LumoLiveMixStream {
  String userId;
  int32_t x;
  int32_t y;
  int32_t width;
  int32_t height;
  int32_t zOrder;
};

// A growing list of mixed streams. Holds copies. The storage is private to the library.
class LUMO_RTC_EXPORT LumoLiveMixStreamArray {
 public:
  LumoLiveMixStreamArray();
  LumoLiveMixStreamArray(const LumoLiveMixStreamArray& other);
  LumoLiveMixStreamArray& operator=(const LumoLiveMixStreamArray& other);
  ~LumoLiveMixStreamArray();

  void Add(const LumoLiveMixStream& stream);
  void Clear();

 private:
  friend struct LumoLiveMixStreamArrayAccess;  // the library's way to its own storage
  void* mStorage;
};

// A layout for mixing several users' streams into the published one.
struct LumoLiveTranscodingConfig {
  int32_t backgroundColor = 0;  // 0xRRGGBB
  uint32_t cropMode = 1;        // a LumoLiveRenderMode: how a frame fills its place
  LumoLiveMixStreamArray mixStreams;
};

// How a player shows its stream.
struct LumoLivePlayerConfig {
  bool isMirror = false;
  bool isFullScreen = false;
  LumoLiveRenderMode renderMode = kLumoLiveRenderModeFit;
  LumoLiveRotation rotation = kLumoLiveRotation0;
};

// An error reported by the pusher. `msg` is valid only during the callback and never null.
struct LumoLivePushError {
  int32_t code = 0;
  const char* msg = "";
};

// Once-a-second figures of a player. The two texts live as long as the process: a receiver may
// keep the pointers and read them later, on another thread.
struct LumoLivePlayerStatsInfo {
  const char* userId = "";
  const char* channelId = "";
  int32_t videoWidth = 0;
  int32_t videoHeight = 0;
  int32_t decodeFps = 0;
  int32_t renderFps = 0;
  int32_t videoBitrate = 0;   // kbit/s
  int32_t audioBitrate = 0;   // kbit/s
  int32_t audioLossRate = 0;  // percent
  int32_t lossRate = 0;       // percent
};

// One user's loudness. Volumes run from 0 (silent) to 255 (full scale); `sumVolume` is that of all
// users together.
struct LumoLiveUserVolumeInfo {
  LumoLiveUserVolumeEnum userType = kLumoLiveUserVolumeLocal;
  LumoLivePlayer* player = nullptr;
  bool speechState = false;
  int32_t volume = 0;
  int32_t sumVolume = 0;
};

// One raw video frame: I420, the Y plane, then U, then V, contiguous from `data`. The chroma planes
// have (height + 1) / 2 rows. Valid, and its pixels writable in place, only during the callback.
//
// Captured or played, each frame has one form: BT.709 matrix, limited range (luma 16 to 235, chroma
// 16 to 240), BT.709 primaries and transfer, chroma sited left (level with the left luma sample of
// each pair, between the two rows), square pixels, progressive. Sources that differ are converted
// by matrix, range and siting. Primaries and transfer are not converted: BT.601 differs too little
// to see, and BT.2020 with PQ or HLG looks pale.
//
// A played frame whose width is not a multiple of 8 is padded to the next one: its last column is
// repeated, and `width` includes the padding. A captured frame has the requested width.
struct LumoLiveVideoRawData {
  unsigned char* data = nullptr;
  int32_t strideY = 0;  // bytes
  int32_t strideU = 0;  // bytes
  int32_t strideV = 0;  // bytes
  int32_t height = 0;
  int32_t width = 0;
};

}  // namespace LumoRtc

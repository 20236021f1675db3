// Result codes of the default SDK's operations, and the codes of its errors.
//
// No failure is 0, 1, -100 to -102 or -901: the add-on uses those for its own refusals, so a caller
// can distinguish the two.

#pragma once

#include <cstdint>

namespace LumoRtc {

// The result of an operation.
enum LumoLiveResult : int32_t {
  kLumoLiveOk = 0,                   // taken; the outcome arrives through a listener
  kLumoLiveNotInitialized = -2001,   // init() has not been called
  kLumoLiveInvalidArgument = -2002,  // an argument makes no sense; the log names it
  kLumoLiveInvalidState = -2003,     // not now: for example a push is already running
  kLumoLiveNotSupported = -2004,     // this build cannot do it
  kLumoLiveNotFound = -2005,         // no device, file, directory or user of that name
};

// Error codes of onSDKError, onSystemError and a player's onError. The number for a cause never
// changes.
enum LumoLiveErrorCode : int32_t {
  kLumoLiveErrorNone = 0,  // no error; never reported
  // Publishing (onSDKError); the first three and a lost connection in playing too (onError)
  kLumoLiveErrorHostNotFound = -3001,     // the server's name does not resolve
  kLumoLiveErrorConnectRefused = -3002,   // no server listens at that address
  kLumoLiveErrorConnectTimeout = -3003,   // the server does not answer
  kLumoLiveErrorPublishRejected = -3004,  // the server refuses the application or the stream
  kLumoLiveErrorStreamNameInUse = -3005,  // that name is already being published
  kLumoLiveErrorConnectionLost = -3006,   // the connection broke
  kLumoLiveErrorEncoderFailed = -3007,    // encoding stopped
  kLumoLiveErrorPublishDenied = -3008,    // the server's authorisation refuses the stream
  // Capturing (onSystemError)
  kLumoLiveErrorCameraFailed = -3101,      // there is no such camera, or the file cannot be read
  kLumoLiveErrorMicrophoneFailed = -3102,  // there is no such microphone
  kLumoLiveErrorViewLost = -3103,          // the window cannot be drawn into; a player continues
  kLumoLiveErrorComponentMissing = -3104,  // a media component is not installed; msg names it
  // Capturing (onSDKError): unplugged or failed; the message names it and what is used instead
  kLumoLiveErrorCameraLost = -3105,
  kLumoLiveErrorMicrophoneLost = -3106,
  // Capturing, publishing (onSystemError, onSDKError) and playing (onError)
  kLumoLiveErrorNoCapacity = -3107,  // the system grants no more descriptors or threads
  // Playing (onError)
  kLumoLiveErrorStreamNotFound = -3201,   // no such file, or the server has no such stream now
  kLumoLiveErrorPlayRejected = -3202,     // the server or the system refuses to deliver it
  kLumoLiveErrorUndecodable = -3203,      // the received data cannot be decoded
  kLumoLiveErrorServerUntrusted = -3204,  // the server's certificate is not trusted; publishing too
  // Sharing a screen (onSDKError); its last frame stays
  kLumoLiveErrorScreenHidden = -3301,   // the window is minimised; capture resumes with it
  kLumoLiveErrorScreenLost = -3302,     // the window was closed, or the display ended
  kLumoLiveErrorScreenRefused = -3303,  // the user has refused in the desktop's dialogue
};

}  // namespace LumoRtc

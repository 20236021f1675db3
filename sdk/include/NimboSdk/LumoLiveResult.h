// The numbers with which the default SDK answers operations and reports errors.
//
// No failure is 0, 1, -100 to -102 or -901: the add-on uses those for its own refusals, so a caller
// can tell the two apart.

#pragma once

#include <cstdint>

namespace LumoRtc {

// What an operation answers.
enum LumoLiveResult : int32_t {
  kLumoLiveOk = 0,                   // taken; the outcome arrives through a listener
  kLumoLiveNotInitialized = -2001,   // init() has not been called
  kLumoLiveInvalidArgument = -2002,  // an argument makes no sense; the log names it
  kLumoLiveInvalidState = -2003,     // not now: for example a push is already running
  kLumoLiveNotSupported = -2004,     // this build cannot do it
  kLumoLiveNotFound = -2005,         // no device, file, directory or user of that name
};

// What onSDKError, onSystemError and a player's onError carry. Codes of one cause never change
// their number.
enum LumoLiveErrorCode : int32_t {
  kLumoLiveErrorNone = 0,  // no error; never reported
  // Publishing (onSDKError); the first three and a lost connection in playing too (onError)
  kLumoLiveErrorHostNotFound = -3001,     // the server's name does not resolve
  kLumoLiveErrorConnectRefused = -3002,   // nobody listens at that address
  kLumoLiveErrorConnectTimeout = -3003,   // the server does not answer
  kLumoLiveErrorPublishRejected = -3004,  // the server refuses the application or the stream
  kLumoLiveErrorStreamNameInUse = -3005,  // somebody already publishes under that name
  kLumoLiveErrorConnectionLost = -3006,   // the connection broke
  kLumoLiveErrorEncoderFailed = -3007,    // encoding stopped
  kLumoLiveErrorPublishDenied = -3008,    // the server's authorisation refuses the stream
  // Capturing (onSystemError)
  kLumoLiveErrorCameraFailed = -3101,      // there is no such camera, or the file cannot be read
  kLumoLiveErrorMicrophoneFailed = -3102,  // there is no such microphone
  kLumoLiveErrorViewLost = -3103,          // the window cannot be drawn into; a player goes on
  kLumoLiveErrorComponentMissing = -3104,  // a media component is not installed; msg names it
  // Capturing (onSDKError): unplugged or failed; the message names it and what is used instead
  kLumoLiveErrorCameraLost = -3105,
  kLumoLiveErrorMicrophoneLost = -3106,
  // Capturing, publishing (onSystemError, onSDKError) and playing (onError)
  kLumoLiveErrorNoCapacity = -3107,  // the system gives no more descriptors or threads
  // Playing (onError)
  kLumoLiveErrorStreamNotFound = -3201,   // no such file, or the server has no such stream now
  kLumoLiveErrorPlayRejected = -3202,     // the server or the system refuses to hand it out
  kLumoLiveErrorUndecodable = -3203,      // what comes cannot be decoded
  kLumoLiveErrorServerUntrusted = -3204,  // the server's certificate is not trusted; publishing too
  // Sharing a screen (onSDKError); its last picture stays
  kLumoLiveErrorScreenHidden = -3301,   // the window is minimised; its pictures come back with it
  kLumoLiveErrorScreenLost = -3302,     // the window was closed, or the display ended
  kLumoLiveErrorScreenRefused = -3303,  // the user does not want to share, says the desktop
};

}  // namespace LumoRtc

#include "scripted_sdk/operations.h"

#include <sstream>

#include "scripted_sdk/lists.h"
#include "scripted_sdk/records.h"

namespace ScriptedSdk {

namespace {

constexpr Operation kOperations[] = {
    {"pusher.Create", AnswerKind::kObject},
    {"pusher.destroy", AnswerKind::kNothing},
    {"pusher.init", AnswerKind::kInt},
    {"pusher.setPushErrorListener", AnswerKind::kNothing},
    {"pusher.setPushInfoListener", AnswerKind::kNothing},
    {"pusher.setVideoFrameListener", AnswerKind::kNothing},
    {"pusher.setPushNetworkListener", AnswerKind::kNothing},
    {"pusher.startPreview", AnswerKind::kInt},
    {"pusher.startPreviewAsync", AnswerKind::kInt},
    {"pusher.stopPreview", AnswerKind::kInt},
    {"pusher.startPush", AnswerKind::kInt},
    {"pusher.startPushAsync", AnswerKind::kInt},
    {"pusher.stopPush", AnswerKind::kInt},
    {"pusher.startCamera", AnswerKind::kInt},
    {"pusher.stopCamera", AnswerKind::kInt},
    {"pusher.setMute", AnswerKind::kInt},
    {"pusher.muteLocalCamera", AnswerKind::kInt},
    {"pusher.getAudioCaptureList", AnswerKind::kNullableDeviceList},
    {"pusher.getCurrentAudioCaptureName", AnswerKind::kText},
    {"pusher.getCurrentAudioCaptureID", AnswerKind::kText},
    {"pusher.setCurrentAudioCaptureName", AnswerKind::kInt},
    {"pusher.setCurrentAudioCaptureID", AnswerKind::kInt},
    {"pusher.getCameraList", AnswerKind::kDeviceList},
    {"pusher.getCurrentCameraName", AnswerKind::kText},
    {"pusher.getCurrentCameraID", AnswerKind::kText},
    {"pusher.setCurrentCameraName", AnswerKind::kInt},
    {"pusher.setCurrentCameraID", AnswerKind::kInt},
    {"pusher.enableAudioVolumeIndication", AnswerKind::kInt},
    {"pusher.setTargetVideoBitrate", AnswerKind::kInt},
    {"pusher.setMinVideoBitrate", AnswerKind::kInt},
    {"pusher.setResolution", AnswerKind::kInt},
    {"pusher.setFps", AnswerKind::kInt},
    {"pusher.setLiveMixTranscodingConfig", AnswerKind::kInt},
    {"pusher.startScreenShareByDesktopId", AnswerKind::kInt},
    {"pusher.setScreenShareEncoderConfiguration", AnswerKind::kInt},
    {"pusher.getScreenShareEncoderConfiguration", AnswerKind::kEncoderConfig},
    {"pusher.switchScreenToCamera", AnswerKind::kInt},
    {"pusher.pauseScreenShare", AnswerKind::kInt},
    {"pusher.resumeScreenShare", AnswerKind::kInt},
    {"pusher.getScreenShareSourceInfo", AnswerKind::kScreenList},
    {"pusher.getCurrentScreenShareSourceId", AnswerKind::kUnsigned},
    {"player.Create", AnswerKind::kObject},
    {"player.initPlayer", AnswerKind::kInt},
    {"player.setPlayView", AnswerKind::kInt},
    {"player.startPlay", AnswerKind::kInt},
    {"player.stopPlay", AnswerKind::kInt},
    {"player.destroy", AnswerKind::kNothing},
    {"player.setRemoteAudioVolume", AnswerKind::kInt},
    {"player.setPlayInfoListener", AnswerKind::kNothing},
    {"player.setVideoFrameListener", AnswerKind::kNothing},
    {"player.getPlayMode", AnswerKind::kInt},
    {"base.GetSDKVersion", AnswerKind::kVersion},
    {"base.isSupportLiveMode", AnswerKind::kBool},
    {"base.SetLogDirPath", AnswerKind::kInt},
    {"base.SetLogLevel", AnswerKind::kNothing},
    {"base.setConsoleEnabled", AnswerKind::kNothing},
};

// The answer is read once with the reader that the operation itself will use.
void readAnswer(AnswerKind kind, const Json& answer) {
  const Json object = {{"answer", answer}};
  Fields fields(object, "answer");
  switch (kind) {
    case AnswerKind::kNothing:
      fields.refuse("the operation has no result");
    case AnswerKind::kInt:
      (void)fields.number<int32_t>("answer", 0);
      return;
    case AnswerKind::kUnsigned:
      (void)fields.number<uint32_t>("answer", 0);
      return;
    case AnswerKind::kBool:
      (void)fields.boolean("answer", false);
      return;
    case AnswerKind::kText:
    case AnswerKind::kVersion:
      (void)readText(answer);
      return;
    case AnswerKind::kObject:
      if (!answer.is_null() && answer != "new") fields.refuse("must be null or \"new\"");
      return;
    case AnswerKind::kDeviceList:
      (void)readDeviceList(answer);
      return;
    case AnswerKind::kNullableDeviceList:
      if (!answer.is_null()) (void)readDeviceList(answer);
      return;
    case AnswerKind::kScreenList:
      if (!answer.is_null()) (void)readScreenList(answer);
      return;
    case AnswerKind::kEncoderConfig:
      (void)readEncoderConfig(answer);
      return;
  }
}

}  // namespace

std::span<const Operation> operations() {
  return kOperations;
}

const Operation& findOperation(const std::string& name) {
  const Operation* found = nullptr;
  for (const auto& operation : kOperations) {
    const std::string_view whole = operation.name;
    if (whole == name) return operation;
    if (whole.substr(whole.find('.') + 1) != name) continue;
    if (found) {
      std::ostringstream problem;
      problem << "'" << name << "' may be " << found->name << " or " << whole;
      throw std::invalid_argument(problem.str());
    }
    found = &operation;
  }
  if (!found) throw std::invalid_argument("no operation '" + name + "'");
  return *found;
}

Json defaultAnswer(AnswerKind kind) {
  switch (kind) {
    case AnswerKind::kNothing:
      return nullptr;
    case AnswerKind::kInt:
    case AnswerKind::kUnsigned:
      return 0;
    case AnswerKind::kBool:
      return false;
    case AnswerKind::kText:
    case AnswerKind::kVersion:
      return "";
    case AnswerKind::kObject:
      return "new";
    case AnswerKind::kDeviceList:
    case AnswerKind::kNullableDeviceList:
    case AnswerKind::kScreenList:
      return Json::array();
    case AnswerKind::kEncoderConfig:
      return Json::object();
  }
  return nullptr;
}

void checkAnswer(const Operation& operation, const Json& answer) {
  try {
    readAnswer(operation.answer, answer);
  } catch (const std::exception& error) {
    throw std::invalid_argument(std::string(operation.name) + ": " + error.what());
  }
}

}  // namespace ScriptedSdk

#include "capture/source_choice.h"

#include <utility>

#include "capture/device_sources.h"
#include "capture/file_source.h"
#include "capture/test_sources.h"
#include "devices/devices.h"

namespace NimboEngine {

std::unique_ptr<Source> makeCamera(const std::string& camera, SourceOutputs outputs) {
  if (const auto path = cameraFile(camera)) {
    return std::make_unique<FileSource>(*path, std::move(outputs));
  }
  if (camera == kTestDevice) return std::make_unique<TestPatternSource>(std::move(outputs));
  return std::make_unique<CameraSource>(camera, std::move(outputs));
}

std::unique_ptr<Source> makeMicrophone(const std::string& microphone, SourceOutputs outputs) {
  if (const auto path = cameraFile(microphone)) {
    return std::make_unique<FileSource>(*path, std::move(outputs));
  }
  if (microphone == kTestDevice) return std::make_unique<TestToneSource>(std::move(outputs));
  return std::make_unique<MicrophoneSource>(microphone, std::move(outputs));
}

}  // namespace NimboEngine

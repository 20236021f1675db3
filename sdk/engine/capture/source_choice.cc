#include "capture/source_choice.h"

#include <utility>

#include "capture/device_sources.h"
#include "capture/file_source.h"
#include "capture/test_sources.h"
#include "devices/devices.h"

namespace NimboEngine {

std::unique_ptr<Source> makeCamera(const std::string& camera, SourceOutputs outlets) {
  if (const auto path = cameraFile(camera)) {
    return std::make_unique<FileSource>(*path, std::move(outlets));
  }
  if (camera == kTestDevice) return std::make_unique<TestPatternSource>(std::move(outlets));
  return std::make_unique<CameraSource>(camera, std::move(outlets));
}

std::unique_ptr<Source> makeMicrophone(const std::string& microphone, SourceOutputs outlets) {
  if (const auto path = cameraFile(microphone)) {
    return std::make_unique<FileSource>(*path, std::move(outlets));
  }
  if (microphone == kTestDevice) return std::make_unique<TestToneSource>(std::move(outlets));
  return std::make_unique<MicrophoneSource>(microphone, std::move(outlets));
}

}  // namespace NimboEngine

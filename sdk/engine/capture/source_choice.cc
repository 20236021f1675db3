#include "capture/source_choice.h"

#include <utility>

#include "capture/device_sources.h"
#include "capture/file_source.h"
#include "capture/test_sources.h"

namespace NimboEngine {

std::unique_ptr<Source> makeCamera(const DeviceId& camera, SourceOutputs outputs) {
  if (const auto path = camera.path()) {
    return std::make_unique<FileSource>(*path, std::move(outputs));
  }
  if (camera.isTest()) return std::make_unique<TestPatternSource>(std::move(outputs));
  return std::make_unique<CameraSource>(camera, std::move(outputs));
}

std::unique_ptr<Source> makeMicrophone(const DeviceId& microphone, SourceOutputs outputs) {
  if (const auto path = microphone.path()) {
    return std::make_unique<FileSource>(*path, std::move(outputs));
  }
  if (microphone.isTest()) return std::make_unique<TestToneSource>(std::move(outputs));
  return std::make_unique<MicrophoneSource>(microphone, std::move(outputs));
}

}  // namespace NimboEngine

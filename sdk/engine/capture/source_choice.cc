#include "capture/source_choice.h"

#include <utility>

#include "capture/device_sources.h"
#include "capture/file_source.h"
#include "capture/test_sources.h"
#include "devices/devices.h"

namespace NimboEngine {

std::unique_ptr<Source> makeCamera(const std::string& camera, SourceOutlets outlets,
                                   std::string& problem) {
  if (const auto path = cameraFile(camera)) {
    return std::make_unique<FileSource>(*path, std::move(outlets));
  }
  // The test pattern must not wait for devices.
  const std::string id = camera == kTestDevice ? camera : findCamera(camera).value_or(Device{}).id;
  if (id == kTestDevice) return std::make_unique<TestPatternSource>(std::move(outlets));
  if (!id.empty()) return std::make_unique<CameraSource>(id, std::move(outlets));
  problem = "camera " + camera + " is not there";
  return nullptr;
}

std::unique_ptr<Source> makeMicrophone(const std::string& microphone, SourceOutlets outlets,
                                       std::string& problem) {
  const std::string id =
      microphone == kTestDevice ? microphone : findMicrophone(microphone, {}).value_or(Device{}).id;
  if (id == kTestDevice) return std::make_unique<TestToneSource>(std::move(outlets));
  if (!id.empty()) return std::make_unique<MicrophoneSource>(id, std::move(outlets));
  problem = "microphone " + microphone + " is not there";
  return nullptr;
}

}  // namespace NimboEngine

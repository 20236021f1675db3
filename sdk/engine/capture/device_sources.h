// Sources of plugged-in cameras and microphones.
//
// Thread, ownership: see Source. Building the pipeline may block in the device's driver.
// Failure: a device that is missing or offers no usable format ends the source; progress() reveals
//   a device that stalls.

#pragma once

#include <memory>

#include "capture/media_sink.h"
#include "devices/device_id.h"
#include "gst/source.h"

namespace NimboEngine {

class CameraSource : public Source {
 public:
  CameraSource(DeviceId id, SourceOutputs outputs);
  Result<std::unique_ptr<Pipeline>> build(Pipeline::Handler handler) override;
  int64_t progress() const override;

 private:
  const DeviceId id_;
  const SourceOutputs outputs_;
};

class MicrophoneSource : public Source {
 public:
  MicrophoneSource(DeviceId id, SourceOutputs outputs);
  Result<std::unique_ptr<Pipeline>> build(Pipeline::Handler handler) override;
  int64_t progress() const override;

 private:
  const DeviceId id_;
  const SourceOutputs outputs_;
};

}  // namespace NimboEngine

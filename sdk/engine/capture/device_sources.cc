#include "capture/device_sources.h"

#include <fmt/format.h>

#include <utility>

#include "capture/camera_caps.h"
#include "devices/plugged_devices.h"

namespace NimboEngine {
namespace {

constexpr char kEntry[] = "entry";

void setIfKnown(GstElement* element, const char* property, gboolean value) {
  if (g_object_class_find_property(G_OBJECT_GET_CLASS(element), property)) {
    g_object_set(element, property, value, nullptr);
  }
}

// Builds a pipeline of the device's own element followed by `description`, whose first element must
// be named kEntry; it is a capsfilter if there are `caps`.
Result<std::unique_ptr<Pipeline>> buildDevicePipeline(GstDevice* device,
                                                      const std::string& description,
                                                      const SourceOutputs& outputs,
                                                      Pipeline::Handler handler,
                                                      const GstCaps* caps = nullptr) {
  const GstPtr<gchar> name(gst_device_get_display_name(device));
  auto pipeline = Pipeline::parse(name.get(), description, std::move(handler));
  GstElement* source = pipeline ? gst_device_create_element(device, nullptr) : nullptr;
  if (!source) {
    return failed(LumoRtc::kLumoLiveNotFound, "{} cannot be opened", name.get());
  }
  gst_bin_add(GST_BIN(pipeline->get()), source);
  setIfKnown(source, "provide-clock", FALSE);  // everything runs on the system clock
  // PipeWire's frames are in the camera's memory, which disappears when the camera is unplugged.
  setIfKnown(source, "always-copy", TRUE);
  const GstPtr<GstElement> entry = pipeline->element(kEntry);
  if (caps) g_object_set(entry.get(), "caps", caps, nullptr);
  if (!gst_element_link(source, entry.get())) {
    return failed(LumoRtc::kLumoLiveNotFound, "{} offers no usable format", name.get());
  }
  connectOutputs(pipeline->get(), outputs);
  return pipeline;
}

}  // namespace

CameraSource::CameraSource(DeviceId id, SourceOutputs outputs)
    : id_(std::move(id)), outputs_(std::move(outputs)) {}

Result<std::unique_ptr<Pipeline>> CameraSource::build(Pipeline::Handler handler) {
  const GstPtr<GstDevice> device = findPlugged(DeviceKind::kCamera, id_);
  const GstPtr<GstCaps> offered(device ? gst_device_get_caps(device.get()) : nullptr);
  const GstPtr<GstCaps> chosen = offered ? chooseCameraCaps(*offered, outputs_.video) : nullptr;
  if (!chosen) {
    return failed(LumoRtc::kLumoLiveNotFound, "camera {} {}", id_.text(),
                  device ? "offers no usable format" : "is not there");
  }
  const bool compressed =
      gst_structure_has_name(gst_caps_get_structure(chosen.get(), 0), "image/jpeg");
  const std::string description =
      fmt::format("capsfilter name={} ! {}videoconvert ! deinterlace ! {}", kEntry,
                  compressed ? "jpegdec ! " : "", videoBranch(outputs_, Timing::kLive));
  return buildDevicePipeline(device.get(), description, outputs_, std::move(handler), chosen.get());
}

int64_t CameraSource::progress() const {
  return static_cast<int64_t>(outputs_.frames->count());
}

MicrophoneSource::MicrophoneSource(DeviceId id, SourceOutputs outputs)
    : id_(std::move(id)), outputs_(std::move(outputs)) {}

Result<std::unique_ptr<Pipeline>> MicrophoneSource::build(Pipeline::Handler handler) {
  const GstPtr<GstDevice> device = findPlugged(DeviceKind::kMicrophone, id_);
  if (!device) {
    return failed(LumoRtc::kLumoLiveNotFound, "microphone {} is not there", id_.text());
  }
  const std::string description =
      fmt::format("queue name={} ! {}", kEntry, audioBranch(outputs_, Timing::kLive));
  return buildDevicePipeline(device.get(), description, outputs_, std::move(handler));
}

int64_t MicrophoneSource::progress() const {
  return static_cast<int64_t>(outputs_.samples->count());
}

}  // namespace NimboEngine

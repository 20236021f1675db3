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

// A pipeline of the device's own element in front of `description`, whose first element must be
// called kEntry.
std::unique_ptr<Pipeline> buildDevicePipeline(GstDevice* device, const std::string& description,
                                              const SourceOutputs& outlets,
                                              Pipeline::Handler handler, std::string& problem) {
  const GstPtr<gchar> name(gst_device_get_display_name(device));
  auto pipeline = Pipeline::parse(name.get(), description, std::move(handler));
  GstElement* source = pipeline ? gst_device_create_element(device, nullptr) : nullptr;
  if (!source) {
    problem = fmt::format("{} cannot be opened", name.get());
    return nullptr;
  }
  gst_bin_add(GST_BIN(pipeline->get()), source);
  setIfKnown(source, "provide-clock", FALSE);  // everything runs on the system clock
  // PipeWire's pictures lie in the camera's memory, which goes when the camera is unplugged.
  setIfKnown(source, "always-copy", TRUE);
  const GstPtr<GstElement> entry = pipeline->element(kEntry);
  if (!gst_element_link(source, entry.get())) {
    problem = fmt::format("{} offers nothing usable", name.get());
    return nullptr;
  }
  connectEnds(pipeline->get(), outlets);
  return pipeline;
}

}  // namespace

CameraSource::CameraSource(std::string id, SourceOutputs outlets)
    : id_(std::move(id)), outlets_(std::move(outlets)) {}

std::unique_ptr<Pipeline> CameraSource::build(Pipeline::Handler handler, std::string& problem) {
  const GstPtr<GstDevice> device = findPlugged(DeviceKind::kCamera, id_);
  const GstPtr<GstCaps> offered(device ? gst_device_get_caps(device.get()) : nullptr);
  const GstPtr<GstCaps> chosen = offered ? chooseCameraCaps(*offered, outlets_.video) : nullptr;
  if (!chosen) {
    problem = fmt::format("camera {} {}", id_, device ? "offers nothing usable" : "is not there");
    return nullptr;
  }
  const GstPtr<gchar> caps(gst_caps_to_string(chosen.get()));
  const bool compressed =
      gst_structure_has_name(gst_caps_get_structure(chosen.get(), 0), "image/jpeg");
  const std::string description =
      fmt::format("capsfilter name={} caps=\"{}\" ! {}videoconvert ! deinterlace ! {}", kEntry,
                  caps.get(), compressed ? "jpegdec ! " : "", videoBranch(outlets_, Timing::kLive));
  return buildDevicePipeline(device.get(), description, outlets_, std::move(handler), problem);
}

int64_t CameraSource::progress() const {
  return static_cast<int64_t>(outlets_.pictures->count());
}

MicrophoneSource::MicrophoneSource(std::string id, SourceOutputs outlets)
    : id_(std::move(id)), outlets_(std::move(outlets)) {}

std::unique_ptr<Pipeline> MicrophoneSource::build(Pipeline::Handler handler, std::string& problem) {
  const GstPtr<GstDevice> device = findPlugged(DeviceKind::kMicrophone, id_);
  if (!device) {
    problem = fmt::format("microphone {} is not there", id_);
    return nullptr;
  }
  const std::string description =
      fmt::format("queue name={} ! {}", kEntry, audioBranch(outlets_, Timing::kLive));
  return buildDevicePipeline(device.get(), description, outlets_, std::move(handler), problem);
}

int64_t MicrophoneSource::progress() const {
  return static_cast<int64_t>(outlets_.sound->count());
}

}  // namespace NimboEngine

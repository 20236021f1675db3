#include "capture/camera_caps.h"

#include <cmath>
#include <limits>
#include <utility>

namespace NimboEngine {
namespace {

// Fixates size and frame rate as near to `wanted` as the structure allows.
void fixateNear(GstStructure& format, const VideoFormat& wanted) {
  gst_structure_fixate_field_nearest_int(&format, "width", wanted.width);
  gst_structure_fixate_field_nearest_int(&format, "height", wanted.height);
  gst_structure_fixate_field_nearest_fraction(&format, "framerate", wanted.fps, 1);
}

double cost(const GstStructure& format, const VideoFormat& wanted) {
  int width = wanted.width;
  int height = wanted.height;
  int fps = wanted.fps;
  int fpsDenominator = 1;
  gst_structure_get_int(&format, "width", &width);
  gst_structure_get_int(&format, "height", &height);
  gst_structure_get_fraction(&format, "framerate", &fps, &fpsDenominator);
  const auto off = [](double have, double want) { return std::abs(have - want) / want; };
  const double rate = static_cast<double>(fps) / std::max(fpsDenominator, 1);
  const double missingRate = std::max(0.0, (wanted.fps - rate) / wanted.fps);
  constexpr double kDecoding = 0.01;
  return 2 * missingRate + off(width, wanted.width) + off(height, wanted.height) +
         (gst_structure_has_name(&format, "image/jpeg") ? kDecoding : 0);
}

bool isDecodable(const GstCaps& offered, guint index) {
  const GstStructure* format = gst_caps_get_structure(&offered, index);
  const GstCapsFeatures* features = gst_caps_get_features(&offered, index);
  return gst_caps_features_is_equal(features, GST_CAPS_FEATURES_MEMORY_SYSTEM_MEMORY) &&
         (gst_structure_has_name(format, "video/x-raw") ||
          gst_structure_has_name(format, "image/jpeg"));
}

}  // namespace

GstPtr<GstCaps> chooseCameraCaps(const GstCaps& offered, const VideoFormat& wanted) {
  GstPtr<GstStructure> best;
  double bestCost = std::numeric_limits<double>::infinity();
  for (guint i = 0; i < gst_caps_get_size(&offered); ++i) {
    if (!isDecodable(offered, i)) continue;
    GstPtr<GstStructure> format(gst_structure_copy(gst_caps_get_structure(&offered, i)));
    fixateNear(*format, wanted);
    const double formatCost = cost(*format, wanted);
    if (formatCost >= bestCost) continue;
    bestCost = formatCost;
    best = std::move(format);
  }
  if (!best) return nullptr;
  return GstPtr<GstCaps>(gst_caps_new_full(best.release(), nullptr));  // takes the structure
}

}  // namespace NimboEngine

#include "devices/device_id.h"

#include <string_view>
#include <utility>

namespace NimboEngine {
namespace {

constexpr char kTestText[] = "test";
constexpr char kFileAudioText[] = "file";
constexpr char kDefaultText[] = "default";
constexpr std::string_view kFilePrefix = "file:";

DeviceId::Form formOf(const std::string& text) {
  if (text.empty()) return DeviceId::Form::kAutomatic;
  if (text == kTestText) return DeviceId::Form::kTest;
  if (text == kFileAudioText) return DeviceId::Form::kFileAudio;
  if (text == kDefaultText) return DeviceId::Form::kDefault;
  if (text.starts_with(kFilePrefix)) return DeviceId::Form::kFile;
  return DeviceId::Form::kPlugged;
}

}  // namespace

DeviceId::DeviceId(std::string text) : text_(std::move(text)), form_(formOf(text_)) {}

DeviceId DeviceId::test() {
  return DeviceId(kTestText);
}

DeviceId DeviceId::fileAudio() {
  return DeviceId(kFileAudioText);
}

std::optional<std::string> DeviceId::path() const {
  if (!isFile()) return std::nullopt;
  return text_.substr(kFilePrefix.size());
}

}  // namespace NimboEngine

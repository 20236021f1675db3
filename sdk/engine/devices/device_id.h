// The identifier of a camera or microphone, taken apart once from the text in which applications
// and listeners have it. The whole text decides on the form; every text has one:
//
//   ""             kAutomatic  the engine chooses (devices/device_selection.h)
//   "test"         kTest       the test pattern or the test tone
//   "file:<path>"  kFile       a media file, as camera; its audio, as the source of a microphone
//   "file"         kFileAudio  the audio of the file that is the camera, as microphone
//   "default"      kDefault    the default microphone
//   anything else  kPlugged    a device, by its node name or path
//
// A form says nothing about existence: a camera "file", or a file without a path, is in no list.
//
// Thread: plain values.
// Failure: none.

#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>

namespace NimboEngine {

class DeviceId {
 public:
  enum class Form : uint8_t { kAutomatic, kTest, kFile, kFileAudio, kDefault, kPlugged };

  DeviceId() = default;  // automatic
  explicit DeviceId(std::string text);

  static DeviceId test();
  static DeviceId fileAudio();

  Form form() const { return form_; }
  bool isAutomatic() const { return form_ == Form::kAutomatic; }
  bool isTest() const { return form_ == Form::kTest; }
  bool isFile() const { return form_ == Form::kFile; }
  bool isFileAudio() const { return form_ == Form::kFileAudio; }
  bool isDefault() const { return form_ == Form::kDefault; }

  // Returns whether the device may be plugged in and unplugged.
  bool isPluggable() const { return form_ == Form::kPlugged || form_ == Form::kDefault; }

  // Returns the path of a file, which may be empty; nothing of another form.
  std::optional<std::string> path() const;

  const std::string& text() const { return text_; }

  friend auto operator<=>(const DeviceId&, const DeviceId&) = default;

 private:
  std::string text_;
  Form form_ = Form::kAutomatic;
};

}  // namespace NimboEngine

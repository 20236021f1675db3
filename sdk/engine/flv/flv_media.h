// Parser of the headers inside FLV audio and video tags: codec, packet kind (configuration, frame),
// and position of the payload. Supports the legacy headers, HEVC under the non-standard codec
// number 12, and the enhanced headers with FourCC codes including modifiers (ModEx) and multitrack
// bodies. Of several tracks only the default track, number 0, is used.
//
// Thread: any; the functions keep no state.
// Ownership: none; positions refer to the given body.
// Failure: an invalid body is kMalformed, an unknown codec kUnsupported.

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace NimboEngine {

enum class FlvCodec : uint8_t {
  kUnknown,
  kH264,
  kHevc,
  kAv1,
  kVp8,
  kVp9,
  kSorensonH263,
  kVp6,
  kVp6Alpha,
  kScreen,
  kScreen2,
  kAac,
  kMp3,
  kPcm,
  kAdpcm,
  kAlaw,
  kMulaw,
  kSpeex,
  kNellymoser,
  kOpus,
  kFlac,
  kAc3,
  kEac3,
};

struct FlvMedia {
  enum class Kind : uint8_t {
    kIgnored,        // nothing to decode: command, metadata, silence, other track
    kConfiguration,  // codec configuration; may be empty
    kFrame,
    kEndOfSequence,
    kUnsupported,  // an unknown codec, see `code`
    kMalformed,
  };

  Kind kind = Kind::kIgnored;
  FlvCodec codec = FlvCodec::kUnknown;
  uint32_t code = 0;  // number or FourCC code of the codec in the stream

  // Position of the configuration or of the frame.
  std::size_t offset = 0;
  std::size_t size = 0;

  // Video.
  bool video = false;
  bool keyFrame = false;
  int32_t compositionMs = 0;  // presentation minus decoding time
  uint8_t vp6Adjustment = 0;  // columns and rows to cut off, four bits each

  // Added to the tag's time stamp; below 1 ms.
  uint32_t nanoseconds = 0;

  // Audio, from the legacy header; 0 where the stream itself carries it.
  int sampleRate = 0;
  int channels = 0;
  int sampleBits = 0;
};

FlvMedia readFlvVideo(std::span<const uint8_t> body);
FlvMedia readFlvAudio(std::span<const uint8_t> body);

// Returns whether frames of that codec cannot be decoded without a configuration.
bool needsConfiguration(FlvCodec codec);

// FlvMedia::code as text: "hvc1", or a number.
std::string flvCodeText(uint32_t code);

}  // namespace NimboEngine

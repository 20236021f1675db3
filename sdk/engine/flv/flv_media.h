// Tells what an FLV audio or video tag holds: the codec, whether it is a configuration or a frame,
// and where in the tag's body that is. Reads the legacy headers, HEVC under the codec number 12
// that some senders use, and the enhanced headers with FourCC codes: modifiers (ModEx) and
// multitrack bodies included, of which the default track, number 0, is taken.
//
// Thread: any; the functions keep no state.
// Ownership: none; positions refer to the body that was given.
// Failure: a body that cannot be right is kMalformed, one whose codec is not known kUnsupported.

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
    kIgnored,        // nothing to decode: a command, metadata, silence, another track
    kConfiguration,  // what the decoder needs before the first frame; may be empty
    kFrame,
    kEndOfSequence,
    kUnsupported,  // `code` says what
    kMalformed,
  };

  Kind kind = Kind::kIgnored;
  FlvCodec codec = FlvCodec::kUnknown;
  uint32_t code = 0;  // the number or the FourCC code that stands for the codec

  // The configuration or the frame.
  std::size_t offset = 0;
  std::size_t size = 0;

  // Video.
  bool video = false;
  bool keyFrame = false;
  int32_t compositionMs = 0;  // presentation minus decoding time
  uint8_t vp6Adjustment = 0;  // columns and rows to cut off, four bits each

  // To be added to the tag's time stamp; below 1 ms.
  uint32_t nanoseconds = 0;

  // Audio, as the legacy header has it; 0 where the stream itself says more or all.
  int sampleRate = 0;
  int channels = 0;
  int sampleBits = 0;
};

FlvMedia readFlvVideo(std::span<const uint8_t> body);
FlvMedia readFlvAudio(std::span<const uint8_t> body);

// Whether frames of that codec are worthless before a configuration has come.
bool needsConfiguration(FlvCodec codec);

// `code` of a FlvMedia for people: "hvc1", or a number.
std::string flvCodeText(uint32_t code);

}  // namespace NimboEngine

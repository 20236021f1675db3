#include "flv/flv_media.h"

#include <algorithm>
#include <array>
#include <optional>

namespace NimboEngine {
namespace {

using Bytes = std::span<const uint8_t>;
using Kind = FlvMedia::Kind;

// Reads a body from front to back. Reads beyond its end return 0 and clear good().
class Reader {
 public:
  explicit Reader(Bytes bytes) : bytes_(bytes) {}

  uint32_t take(std::size_t count) {
    uint32_t value = 0;
    for (std::size_t i = 0; i < count; ++i) value = value << 8 | next();
    return value;
  }
  void skip(std::size_t count) {
    good_ = good_ && count <= left();
    at_ += std::min(count, left());
  }
  // Ends the body `count` bytes from here.
  void limit(std::size_t count) {
    good_ = good_ && count <= left();
    bytes_ = bytes_.first(at_ + std::min(count, left()));
  }

  bool good() const { return good_; }
  std::size_t at() const { return at_; }
  std::size_t left() const { return bytes_.size() - at_; }

 private:
  uint8_t next() {
    good_ = good_ && at_ < bytes_.size();
    return good_ ? bytes_[at_++] : uint8_t{0};
  }

  Bytes bytes_;
  std::size_t at_ = 0;
  bool good_ = true;
};

constexpr uint32_t fourCc(const char (&text)[5]) {
  uint32_t code = 0;
  for (int i = 0; i < 4; ++i) code = code << 8 | static_cast<uint8_t>(text[i]);
  return code;
}

struct CodecCode {
  uint32_t code;
  FlvCodec codec;
};

template <std::size_t count>
FlvCodec codecOf(const std::array<CodecCode, count>& codes, uint32_t code) {
  const auto* found = std::find_if(codes.begin(), codes.end(),
                                   [&](const CodecCode& entry) { return entry.code == code; });
  return found == codes.end() ? FlvCodec::kUnknown : found->codec;
}

constexpr auto kVideoNumbers = std::to_array<CodecCode>({{2, FlvCodec::kSorensonH263},
                                                         {3, FlvCodec::kScreen},
                                                         {4, FlvCodec::kVp6},
                                                         {5, FlvCodec::kVp6Alpha},
                                                         {6, FlvCodec::kScreen2},
                                                         {7, FlvCodec::kH264},
                                                         {12, FlvCodec::kHevc}});

constexpr auto kAudioNumbers = std::to_array<CodecCode>({{0, FlvCodec::kPcm},
                                                         {1, FlvCodec::kAdpcm},
                                                         {2, FlvCodec::kMp3},
                                                         {3, FlvCodec::kPcm},
                                                         {4, FlvCodec::kNellymoser},
                                                         {5, FlvCodec::kNellymoser},
                                                         {6, FlvCodec::kNellymoser},
                                                         {7, FlvCodec::kAlaw},
                                                         {8, FlvCodec::kMulaw},
                                                         {10, FlvCodec::kAac},
                                                         {11, FlvCodec::kSpeex},
                                                         {14, FlvCodec::kMp3}});

constexpr auto kVideoCodes = std::to_array<CodecCode>({{fourCc("avc1"), FlvCodec::kH264},
                                                       {fourCc("hvc1"), FlvCodec::kHevc},
                                                       {fourCc("av01"), FlvCodec::kAv1},
                                                       {fourCc("vp08"), FlvCodec::kVp8},
                                                       {fourCc("vp09"), FlvCodec::kVp9}});

constexpr auto kAudioCodes = std::to_array<CodecCode>({{fourCc("mp4a"), FlvCodec::kAac},
                                                       {fourCc(".mp3"), FlvCodec::kMp3},
                                                       {fourCc("Opus"), FlvCodec::kOpus},
                                                       {fourCc("fLaC"), FlvCodec::kFlac},
                                                       {fourCc("ac-3"), FlvCodec::kAc3},
                                                       {fourCc("ec-3"), FlvCodec::kEac3}});

// Upper half of a video tag's first byte.
constexpr uint8_t kEnhancedVideoBit = 0x80;
constexpr uint8_t kKeyFrame = 1;
constexpr uint8_t kGeneratedKeyFrame = 4;
constexpr uint8_t kCommandFrame = 5;

// Upper half of an audio tag's first byte.
constexpr uint8_t kEnhancedAudio = 9;

// Packet type of H.264, HEVC and AAC with a legacy header.
constexpr uint32_t kLegacyConfiguration = 0;
constexpr uint32_t kLegacyFrame = 1;
constexpr uint32_t kLegacyEnd = 2;

// Packet types of the enhanced headers. The first three are common to audio and video.
constexpr uint32_t kSequenceStart = 0;
constexpr uint32_t kCodedFrames = 1;
constexpr uint32_t kSequenceEnd = 2;
constexpr uint32_t kCodedFramesX = 3;  // video: the composition time is 0 and left out
constexpr uint32_t kMetadata = 4;      // video; audio has the order of its channels there
constexpr uint32_t kTsSequenceStart = 5;
constexpr uint32_t kVideoMultitrack = 6;
constexpr uint32_t kAudioMultitrack = 5;
constexpr uint32_t kModEx = 7;

constexpr uint32_t kTimestampOffsetNano = 0;  // the only modifier there is
constexpr uint32_t kMaxNanoseconds = 999'999;

constexpr uint32_t kOneTrack = 0;
constexpr uint32_t kManyTracks = 1;
constexpr uint32_t kManyTracksManyCodecs = 2;
constexpr uint32_t kDefaultTrack = 0;

// No encoder reorders frames over a longer time. Values beyond it are invalid and count as 0.
constexpr int32_t kMaxCompositionMs = 10'000;

int32_t takeComposition(Reader& reader) {
  constexpr int32_t kSign = 1 << 23;
  const auto value = static_cast<int32_t>(reader.take(3));
  const int32_t composition = (value ^ kSign) - kSign;
  return std::abs(composition) <= kMaxCompositionMs ? composition : 0;
}

FlvMedia failed(FlvMedia media, Kind kind) {
  media.kind = kind;
  media.offset = media.size = 0;
  return media;
}

// The rest of the body is the payload.
FlvMedia finished(FlvMedia media, const Reader& reader, Kind kind) {
  if (!reader.good()) return failed(media, Kind::kMalformed);
  media.offset = reader.at();
  media.size = reader.left();
  media.kind = kind == Kind::kFrame && media.size == 0 ? Kind::kIgnored : kind;
  return media;
}

// Reads the modifiers in front of the packet. Returns the type of the packet.
uint32_t takeModifiers(uint32_t packetType, Reader& reader, FlvMedia& media) {
  while (packetType == kModEx && reader.good()) {
    std::size_t size = reader.take(1) + 1;
    if (size == 256) size = reader.take(2) + 1;
    Reader data = reader;
    reader.skip(size);
    const uint32_t types = reader.take(1);
    packetType = types & 0xf;
    if (types >> 4 == kTimestampOffsetNano && size >= 3) {
      media.nanoseconds = std::min(data.take(3), kMaxNanoseconds);
    }
  }
  return packetType;
}

// Moves `reader` to the default track and limits it to that. Returns the track's codec, or nothing
// when the body lacks the track.
std::optional<uint32_t> takeTrack(uint32_t multitrackType, Reader& reader) {
  if (multitrackType > kManyTracksManyCodecs) return std::nullopt;
  uint32_t code = multitrackType == kManyTracksManyCodecs ? 0 : reader.take(4);
  do {
    if (multitrackType == kManyTracksManyCodecs) code = reader.take(4);
    const uint32_t track = reader.take(1);
    const std::size_t size = multitrackType == kOneTrack ? reader.left() : reader.take(3);
    if (track == kDefaultTrack && reader.good()) {
      reader.limit(size);
      return code;
    }
    reader.skip(size);
  } while (multitrackType >= kManyTracks && reader.good() && reader.left() > 0);
  return std::nullopt;
}

struct Packet {
  uint32_t type;
  bool present;  // whether the default track is in the body
};

// Reads the rest of an enhanced header, up to the payload.
Packet takeEnhancedHeader(uint32_t type, uint32_t multitrack, Reader& reader, FlvMedia& media) {
  if (type != multitrack) {
    media.code = reader.take(4);
    return {type, true};
  }
  const uint32_t types = reader.take(1);
  const auto code = takeTrack(types >> 4, reader);
  media.code = code.value_or(0);
  return {types & 0xf, code.has_value()};
}

FlvMedia readEnhancedVideo(uint32_t frameType, uint32_t first, Reader reader, FlvMedia media) {
  const uint32_t outer = takeModifiers(first, reader, media);
  // The frame type of metadata has no meaning; FFmpeg sends it as a command.
  if (frameType == kCommandFrame && outer != kMetadata) return media;
  const auto [type, present] = takeEnhancedHeader(outer, kVideoMultitrack, reader, media);
  if (!reader.good()) return failed(media, Kind::kMalformed);
  if (!present || type == kMetadata) return media;
  media.codec = codecOf(kVideoCodes, media.code);
  if (media.codec == FlvCodec::kUnknown) return failed(media, Kind::kUnsupported);
  switch (type) {
    case kSequenceStart:
      return finished(media, reader, Kind::kConfiguration);
    case kSequenceEnd:
      return failed(media, Kind::kEndOfSequence);
    case kCodedFrames:
      if (media.codec == FlvCodec::kH264 || media.codec == FlvCodec::kHevc) {
        media.compositionMs = takeComposition(reader);
      }
      return finished(media, reader, Kind::kFrame);
    case kCodedFramesX:
      return finished(media, reader, Kind::kFrame);
    case kTsSequenceStart:
      return failed(media, Kind::kUnsupported);
    default:
      return failed(media, Kind::kMalformed);
  }
}

FlvMedia readEnhancedAudio(uint32_t first, Reader reader, FlvMedia media) {
  const uint32_t outer = takeModifiers(first, reader, media);
  const auto [type, present] = takeEnhancedHeader(outer, kAudioMultitrack, reader, media);
  if (!reader.good()) return failed(media, Kind::kMalformed);
  if (!present || type == kMetadata) return media;
  media.codec = codecOf(kAudioCodes, media.code);
  if (media.codec == FlvCodec::kUnknown) return failed(media, Kind::kUnsupported);
  switch (type) {
    case kSequenceStart:
      return finished(media, reader, Kind::kConfiguration);
    case kSequenceEnd:
      return failed(media, Kind::kEndOfSequence);
    case kCodedFrames:
      return finished(media, reader, Kind::kFrame);
    default:
      return failed(media, Kind::kMalformed);
  }
}

// H.264, HEVC and AAC have a packet type of their own.
FlvMedia readLegacyPacket(uint32_t type, const Reader& reader, FlvMedia media) {
  switch (type) {
    case kLegacyConfiguration:
      return finished(media, reader, Kind::kConfiguration);
    case kLegacyFrame:
      return finished(media, reader, Kind::kFrame);
    case kLegacyEnd:
      return failed(media, Kind::kEndOfSequence);
    default:
      return failed(media, Kind::kMalformed);
  }
}

void describeLegacyAudio(uint8_t first, FlvMedia& media) {
  constexpr int kRates[] = {5512, 11025, 22050, 44100};
  media.sampleRate = kRates[first >> 2 & 3];
  media.sampleBits = first & 2 ? 16 : 8;
  media.channels = first & 1 ? 2 : 1;
  switch (media.codec) {
    case FlvCodec::kAlaw:
    case FlvCodec::kMulaw:
      media.sampleRate = 8000;
      break;
    case FlvCodec::kSpeex:
      media.sampleRate = 16000;
      media.channels = 1;
      break;
    case FlvCodec::kNellymoser:
      if (media.code == 4) media.sampleRate = 16000;
      if (media.code == 5) media.sampleRate = 8000;
      media.channels = 1;
      break;
    case FlvCodec::kAac:
    case FlvCodec::kMp3:
      // The header cannot express most sample rates; the stream carries the true one.
      media.sampleRate = media.sampleBits = media.channels = 0;
      break;
    default:
      break;
  }
}

}  // namespace

FlvMedia readFlvVideo(Bytes body) {
  FlvMedia media;
  media.video = true;
  if (body.empty()) return media;
  Reader reader(body);
  const auto first = static_cast<uint8_t>(reader.take(1));
  const uint8_t frameType = first >> 4 & 7;
  media.keyFrame = frameType == kKeyFrame || frameType == kGeneratedKeyFrame;
  if (first & kEnhancedVideoBit) return readEnhancedVideo(frameType, first & 0xf, reader, media);
  if (frameType == kCommandFrame) return media;
  media.code = first & 0xf;
  media.codec = codecOf(kVideoNumbers, media.code);
  switch (media.codec) {
    case FlvCodec::kUnknown:
      return failed(media, Kind::kUnsupported);
    case FlvCodec::kH264:
    case FlvCodec::kHevc: {
      const uint32_t type = reader.take(1);
      media.compositionMs = takeComposition(reader);
      return readLegacyPacket(type, reader, media);
    }
    case FlvCodec::kVp6:
    case FlvCodec::kVp6Alpha:
      media.vp6Adjustment = static_cast<uint8_t>(reader.take(1));
      return finished(media, reader, Kind::kFrame);
    default:
      return finished(media, reader, Kind::kFrame);
  }
}

FlvMedia readFlvAudio(Bytes body) {
  FlvMedia media;
  if (body.empty()) return media;
  Reader reader(body);
  const auto first = static_cast<uint8_t>(reader.take(1));
  if (first >> 4 == kEnhancedAudio) return readEnhancedAudio(first & 0xf, reader, media);
  media.code = first >> 4;
  media.codec = codecOf(kAudioNumbers, media.code);
  if (media.codec == FlvCodec::kUnknown) return failed(media, Kind::kUnsupported);
  describeLegacyAudio(first, media);
  if (media.codec != FlvCodec::kAac) return finished(media, reader, Kind::kFrame);
  const uint32_t type = reader.take(1);
  return readLegacyPacket(type, reader, media);
}

bool needsConfiguration(FlvCodec codec) {
  switch (codec) {
    case FlvCodec::kH264:
    case FlvCodec::kHevc:
    case FlvCodec::kAac:
    case FlvCodec::kFlac:
      return true;
    default:
      return false;
  }
}

std::string flvCodeText(uint32_t code) {
  if (code < 16) return std::to_string(code);
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    const auto byte = static_cast<char>(code >> shift & 0xff);
    text += byte >= ' ' && byte <= '~' ? byte : '?';
  }
  return text;
}

}  // namespace NimboEngine

#include "flv/flv_caps.h"

#include <gst/pbutils/pbutils.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace NimboEngine {
namespace {

using Bytes = std::span<const uint8_t>;
using Caps = GstPtr<GstCaps>;

GstPtr<GstBuffer> copied(Bytes bytes) {
  return GstPtr<GstBuffer>(gst_buffer_new_memdup(bytes.data(), bytes.size()));
}

void setCodecData(GstCaps* caps, Bytes bytes) {
  const auto buffer = copied(bytes);
  gst_caps_set_simple(caps, "codec_data", GST_TYPE_BUFFER, buffer.get(), nullptr);
}

void appendHeader(GValue* headers, Bytes bytes) {
  GValue header = G_VALUE_INIT;
  g_value_init(&header, GST_TYPE_BUFFER);
  gst_value_set_buffer(&header, copied(bytes).get());
  gst_value_array_append_and_take_value(headers, &header);
}

// Header packets of codecs from the Ogg family.
void setStreamHeaders(GstCaps* caps, Bytes first, Bytes second) {
  GValue headers = G_VALUE_INIT;
  gst_value_array_init(&headers, 2);
  appendHeader(&headers, first);
  appendHeader(&headers, second);
  gst_structure_take_value(gst_caps_get_structure(caps, 0), "streamheader", &headers);
}

// An AVCDecoderConfigurationRecord: version 1, and no shorter than its fixed part.
Caps h264Caps(Bytes record) {
  constexpr std::size_t kFixedPart = 7;
  if (record.size() < kFixedPart || record[0] != 1) return nullptr;
  Caps caps(gst_caps_new_simple("video/x-h264", "stream-format", G_TYPE_STRING, "avc", "alignment",
                                G_TYPE_STRING, "au", nullptr));
  setCodecData(caps.get(), record);
  return caps;
}

// An HEVCDecoderConfigurationRecord. Early writers left its version 0.
Caps hevcCaps(Bytes record) {
  constexpr std::size_t kFixedPart = 23;
  if (record.size() < kFixedPart || record[0] > 1) return nullptr;
  Caps caps(gst_caps_new_simple("video/x-h265", "stream-format", G_TYPE_STRING, "hvc1", "alignment",
                                G_TYPE_STRING, "au", nullptr));
  setCodecData(caps.get(), record);
  return caps;
}

// An AV1CodecConfigurationRecord begins with its marker bit and version 1. Without one, the decoder
// takes the sequence header from the key frames.
Caps av1Caps(Bytes record) {
  constexpr std::size_t kFixedPart = 4;
  constexpr uint8_t kMarkerAndVersion = 0x81;
  Caps caps(gst_caps_new_simple("video/x-av1", "stream-format", G_TYPE_STRING, "obu-stream",
                                "alignment", G_TYPE_STRING, "tu", nullptr));
  if (record.size() >= kFixedPart && record[0] == kMarkerAndVersion) {
    setCodecData(caps.get(), record);
  }
  return caps;
}

Caps vp6Caps(const char* type, uint8_t adjustment) {
  Caps caps(gst_caps_new_empty_simple(type));
  setCodecData(caps.get(), {&adjustment, 1});
  return caps;
}

// An AudioSpecificConfig.
Caps aacCaps(Bytes config) {
  if (config.size() < 2) return nullptr;
  const auto size = static_cast<guint>(config.size());
  const auto rate = static_cast<gint>(gst_codec_utils_aac_get_sample_rate(config.data(), size));
  const auto channels = static_cast<gint>(gst_codec_utils_aac_get_channels(config.data(), size));
  if (rate <= 0) return nullptr;
  Caps caps(gst_caps_new_simple("audio/mpeg", "mpegversion", G_TYPE_INT, 4, "framed",
                                G_TYPE_BOOLEAN, TRUE, "stream-format", G_TYPE_STRING, "raw", "rate",
                                G_TYPE_INT, rate, nullptr));
  // The channels may be described in the frames instead.
  if (channels > 0) gst_caps_set_simple(caps.get(), "channels", G_TYPE_INT, channels, nullptr);
  setCodecData(caps.get(), config);
  return caps;
}

// An OpusHead. Without one the stream is mono or stereo, between which the decoder needs no
// distinction.
Caps opusCaps(Bytes head) {
  constexpr int kRate = 48'000;
  constexpr std::size_t kHeadSize = 19;
  if (head.empty()) {
    return Caps(gst_codec_utils_opus_create_caps(kRate, 2, 0, 1, 1, nullptr));
  }
  if (head.size() < kHeadSize) return nullptr;
  return Caps(gst_codec_utils_opus_create_caps_from_header(copied(head).get(), nullptr));
}

// The STREAMINFO block: bare, as FFmpeg sends it, or after "fLaC" and a block header, as the
// format defines it. GStreamer expects the Ogg form in the caps.
Caps flacCaps(Bytes header) {
  constexpr std::size_t kStreamInfoSize = 34;
  constexpr std::size_t kPrefixSize = 8;
  constexpr std::array<uint8_t, 17> kOggPrefix = {
      0x7f, 'F', 'L', 'A', 'C', 1, 0, 0, 1, 'f', 'L', 'a', 'C', 0, 0, 0, kStreamInfoSize};
  constexpr std::array<uint8_t, 12> kNoComments = {0x84, 0, 0, 8};
  if (header.size() >= kPrefixSize && std::equal(header.begin(), header.begin() + 4, "fLaC")) {
    header = header.subspan(kPrefixSize);
  }
  if (header.size() < kStreamInfoSize) return nullptr;
  header = header.first(kStreamInfoSize);
  // 20 bits of sample rate, then three of the number of channels less one.
  const int rate = header[10] << 12 | header[11] << 4 | header[12] >> 4;
  const int channels = (header[12] >> 1 & 7) + 1;
  if (rate == 0) return nullptr;
  Caps caps(gst_caps_new_simple("audio/x-flac", "framed", G_TYPE_BOOLEAN, TRUE, "rate", G_TYPE_INT,
                                rate, "channels", G_TYPE_INT, channels, nullptr));
  std::array<uint8_t, kOggPrefix.size() + kStreamInfoSize> first{};
  std::copy(header.begin(), header.end(),
            std::copy(kOggPrefix.begin(), kOggPrefix.end(), first.begin()));
  setStreamHeaders(caps.get(), first, kNoComments);
  return caps;
}

// Speex in FLV is 16 kHz mono and lacks the header that the decoder requires.
Caps speexCaps() {
  std::array<uint8_t, 80> header{};
  std::memcpy(header.data(), "Speex   1.2", 11);
  const auto set = [&header](std::size_t index, uint32_t value) {
    constexpr std::size_t kNumbersAt = 28;  // behind the name and the version's text
    for (std::size_t i = 0; i < 4; ++i) {
      header[kNumbersAt + 4 * index + i] = static_cast<uint8_t>(value >> 8 * i);
    }
  };
  set(0, 1);  // version of the header
  set(1, static_cast<uint32_t>(header.size()));
  set(2, 16'000);        // sample rate
  set(3, 1);             // wide band
  set(4, 4);             // version of the bit stream
  set(5, 1);             // channels
  set(6, ~uint32_t{0});  // bit rate: unknown
  set(7, 320);           // samples a frame
  set(9, 1);             // frames a packet, at least
  constexpr std::array<uint8_t, 8> kNoComments{};
  Caps caps(gst_caps_new_simple("audio/x-speex", "rate", G_TYPE_INT, 16'000, "channels", G_TYPE_INT,
                                1, nullptr));
  setStreamHeaders(caps.get(), header, kNoComments);
  return caps;
}

Caps audioCaps(const char* type, const FlvMedia& media) {
  return Caps(gst_caps_new_simple(type, "rate", G_TYPE_INT, media.sampleRate, "channels",
                                  G_TYPE_INT, media.channels, nullptr));
}

Caps pcmCaps(const FlvMedia& media) {
  auto caps = audioCaps("audio/x-raw", media);
  gst_caps_set_simple(caps.get(), "format", G_TYPE_STRING, media.sampleBits == 8 ? "U8" : "S16LE",
                      "layout", G_TYPE_STRING, "interleaved", nullptr);
  return caps;
}

Caps adpcmCaps(const FlvMedia& media) {
  auto caps = audioCaps("audio/x-adpcm", media);
  gst_caps_set_simple(caps.get(), "layout", G_TYPE_STRING, "swf", nullptr);
  return caps;
}

// Rate and channels are left to a parser: the FLV header cannot express all sample rates.
Caps mp3Caps() {
  return Caps(gst_caps_new_simple("audio/mpeg", "mpegversion", G_TYPE_INT, 1, "layer", G_TYPE_INT,
                                  3, nullptr));
}

Caps plainCaps(const char* type) {
  return Caps(gst_caps_new_empty_simple(type));
}

}  // namespace

GstPtr<GstCaps> makeFlvCaps(const FlvMedia& media, Bytes configuration) {
  switch (media.codec) {
    case FlvCodec::kUnknown:
      return nullptr;
    case FlvCodec::kH264:
      return h264Caps(configuration);
    case FlvCodec::kHevc:
      return hevcCaps(configuration);
    case FlvCodec::kAv1:
      return av1Caps(configuration);
    case FlvCodec::kVp8:
      return plainCaps("video/x-vp8");
    case FlvCodec::kVp9:
      return plainCaps("video/x-vp9");
    case FlvCodec::kSorensonH263:
      return Caps(gst_caps_new_simple("video/x-flash-video", "flvversion", G_TYPE_INT, 1, nullptr));
    case FlvCodec::kVp6:
      return vp6Caps("video/x-vp6-flash", media.vp6Adjustment);
    case FlvCodec::kVp6Alpha:
      return vp6Caps("video/x-vp6-alpha", media.vp6Adjustment);
    case FlvCodec::kScreen:
      return plainCaps("video/x-flash-screen");
    case FlvCodec::kScreen2:
      return plainCaps("video/x-flash-screen2");
    case FlvCodec::kAac:
      return aacCaps(configuration);
    case FlvCodec::kMp3:
      return mp3Caps();
    case FlvCodec::kPcm:
      return pcmCaps(media);
    case FlvCodec::kAdpcm:
      return adpcmCaps(media);
    case FlvCodec::kAlaw:
      return audioCaps("audio/x-alaw", media);
    case FlvCodec::kMulaw:
      return audioCaps("audio/x-mulaw", media);
    case FlvCodec::kSpeex:
      return speexCaps();
    case FlvCodec::kNellymoser:
      return audioCaps("audio/x-nellymoser", media);
    case FlvCodec::kOpus:
      return opusCaps(configuration);
    case FlvCodec::kFlac:
      return flacCaps(configuration);
    case FlvCodec::kAc3:
      return plainCaps("audio/x-ac3");
    case FlvCodec::kEac3:
      return plainCaps("audio/x-eac3");
  }
  return nullptr;
}

}  // namespace NimboEngine

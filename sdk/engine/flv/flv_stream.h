// One of the two streams of an FLV: what its frames are, and the pad that they leave by.
//
// The pad is added to the element as soon as the stream can be decoded: with its configuration, or
// with its first frame where the codec needs none. Video begins with a key frame, unless none comes
// among the first kMaxFramesBeforeKey frames (some senders mark none).
//
// Thread: the streaming thread of the element's sink pad; removePad() when that has ended.
// Ownership: the element owns the pad from the moment it is added.
// Failure: what cannot be decoded is left out; a frame's flow is that of the pad.

#pragma once

#include <gst/gst.h>

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "flv/flv_media.h"

namespace NimboEngine {

class FlvStream {
 public:
  static constexpr int kMaxFramesBeforeKey = 300;

  // `name` is that of the pad and of its template.
  FlvStream(GstElement* element, const char* name) : element_(element), name_(name) {}
  FlvStream(const FlvStream&) = delete;
  FlvStream& operator=(const FlvStream&) = delete;

  // Takes a configuration, unless it cannot be used.
  void configure(const FlvMedia& media, std::span<const uint8_t> configuration, guint groupId);

  // Prepares the pad for a frame; false when the frame must be left out.
  bool admit(const FlvMedia& frame, guint groupId);

  // Needs an admitted frame, whose bytes are copied.
  GstFlowReturn push(const FlvMedia& frame, std::span<const uint8_t> bytes, GstClockTime dts);

  void markDiscontinuity() { discontinuous_ = true; }

  // After a flush: the pad has lost its segment.
  void restartSegment();

  // Ends the stream's use.
  void removePad();

  GstPad* pad() const { return pad_; }  // null until it is there

  // Whether the pad has come since the last call.
  bool takeNewPad() { return std::exchange(isNew_, false); }

 private:
  bool setFormat(const FlvMedia& media, std::span<const uint8_t> configuration, guint groupId);
  void addPad(GstCaps* caps, guint groupId);
  bool isBeforeKeyFrame(const FlvMedia& frame);

  GstElement* const element_;
  const char* const name_;
  GstPad* pad_ = nullptr;
  bool isNew_ = false;
  FlvMedia format_;  // what the caps were made from; the codec is unknown before
  std::vector<uint8_t> configuration_;
  bool discontinuous_ = true;
  bool hasBegun_ = false;
  int framesBeforeKey_ = 0;
};

}  // namespace NimboEngine

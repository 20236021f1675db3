// The video or the audio stream of an FLV: its format and its source pad.
//
// The pad is added to the element as soon as the stream can be decoded: at its configuration, or at
// its first frame where the codec needs no configuration. Video frames before the first key frame
// are dropped, but at most kMaxFramesBeforeKey: some senders mark no key frames.
//
// Thread: the streaming thread of the element's sink pad; removePad() when that has ended.
// Ownership: the element owns the pad.
// Failure: frames that cannot be decoded are not admitted; push() returns the pad's flow.

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

  // Applies a configuration; an invalid one is ignored, the first one logged.
  void configure(const FlvMedia& media, std::span<const uint8_t> configuration, guint groupId);

  // Prepares the pad for a frame. False when the frame must be dropped.
  bool admit(const FlvMedia& frame, guint groupId);

  // Pushes a copy of an admitted frame.
  GstFlowReturn push(const FlvMedia& frame, std::span<const uint8_t> bytes, GstClockTime dts);

  void markDiscontinuity() { discontinuous_ = true; }

  // Sends the segment again, which a flush has removed.
  void restartSegment();

  // The stream must not be used afterwards.
  void removePad();

  GstPad* pad() const { return pad_; }  // null until it is added

  // Whether the pad was added since the last call.
  bool takeNewPad() { return std::exchange(isNew_, false); }

 private:
  bool setFormat(const FlvMedia& media, std::span<const uint8_t> configuration, guint groupId);
  void addPad(GstCaps* caps, guint groupId);
  bool isBeforeKeyFrame(const FlvMedia& frame);

  GstElement* const element_;
  const char* const name_;
  GstPad* pad_ = nullptr;
  bool isNew_ = false;
  FlvMedia format_;  // what the caps were made from
  std::vector<uint8_t> configuration_;
  bool discontinuous_ = true;
  bool hasBegun_ = false;
  bool reportedInvalid_ = false;
  int framesBeforeKey_ = 0;
};

}  // namespace NimboEngine

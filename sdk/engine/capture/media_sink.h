// The common end of every source's pipeline: whatever comes is brought into the captured format
// and handed to a mailbox or a FIFO.
//
// Thread: any; pictures and sound arrive on GStreamer's threads.
// Ownership: a sink shares the place it delivers into, until the pipeline ends.

#pragma once

#include <memory>
#include <string>

#include "media/frame_consumer.h"
#include "media/frame_mailbox.h"
#include "media/sample_fifo.h"

namespace NimboEngine {

// What a source is to deliver, and where. A null place: not wanted.
struct SourceOutputs {
  VideoFormat video;
  bool mirror = false;  // left and right exchanged
  std::shared_ptr<FrameMailbox> frames;
  AudioFormat audio;
  std::shared_ptr<SampleFifo> samples;
};

// How media are timed: a live source's go on as they come, a file's wait for their time.
enum class Timing { kLive, kTimed };

// Launch descriptions. videoBranch() takes progressive frames of any format and size. They arrive
// in the form of media/frame_form.h, fitted into the wanted size with black borders where the
// shapes differ; frameCaps() are for sources that can have form and size at once.
std::string frameCaps(const VideoFormat& format);
std::string videoBranch(const SourceOutputs& outputs, Timing timing);
std::string audioBranch(const SourceOutputs& outputs, Timing timing);

// Connects the ends that `bin` contains with the outlets.
void connectOutputs(GstElement* bin, const SourceOutputs& outputs);

}  // namespace NimboEngine

// The common output branches of every source's pipeline: media are converted to the captured format
// and delivered to a mailbox or a FIFO.
//
// Thread: any; frames and audio arrive on GStreamer's threads.
// Ownership: a sink shares its mailbox or FIFO until the pipeline is destroyed.

#pragma once

#include <memory>
#include <string>

#include "media/frame_consumer.h"
#include "media/frame_mailbox.h"
#include "media/sample_fifo.h"

namespace NimboEngine {

// The outputs of a source. A null mailbox or FIFO disables that output.
struct SourceOutputs {
  VideoFormat video;
  bool mirror = false;  // left and right exchanged
  std::shared_ptr<FrameMailbox> frames;
  AudioFormat audio;
  std::shared_ptr<SampleFifo> samples;
};

// Timing of media: those of a live source are passed on immediately, those of a file at their time
// stamps.
enum class Timing { kLive, kTimed };

// Launch descriptions. videoBranch() takes progressive frames of any format and size. They arrive
// in the form of media/frame_form.h, fitted into the wanted size with black borders where the
// shapes differ; frameCaps() is for sources that can produce form and size directly.
std::string frameCaps(const VideoFormat& format);
std::string videoBranch(const SourceOutputs& outputs, Timing timing);
std::string audioBranch(const SourceOutputs& outputs, Timing timing);

// Connects the sinks in `bin` with the outputs.
void connectOutputs(GstElement* bin, const SourceOutputs& outputs);

}  // namespace NimboEngine

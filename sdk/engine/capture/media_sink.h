// The common end of every source's pipeline: whatever comes is brought into the captured format
// and handed to a mailbox or a FIFO.
//
// Thread: any; pictures and sound arrive on GStreamer's threads.
// Ownership: a sink shares the place it delivers into, until the pipeline ends.

#pragma once

#include <memory>
#include <string>

#include "capture/frame_consumer.h"
#include "capture/picture_mailbox.h"
#include "capture/sample_fifo.h"

namespace NimboEngine {

// What a source is to deliver, and where. A null place: not wanted.
struct SourceOutlets {
  VideoFormat video;
  bool mirror = false;  // left and right exchanged
  std::shared_ptr<PictureMailbox> pictures;
  AudioFormat audio;
  std::shared_ptr<SampleFifo> sound;
};

// How media are timed: a live source's go on as they come, a file's wait for their time.
enum class Pace { kLive, kTimed };

// Launch descriptions. pictureEnd() takes progressive frames of any format and size. They arrive in
// the form of media/frame_form.h, fitted into the wanted size with black borders where the shapes
// differ; pictureCaps() are for sources that can have form and size at once.
std::string pictureCaps(const VideoFormat& format);
std::string pictureEnd(const SourceOutlets& outlets, Pace pace);
std::string soundEnd(const SourceOutlets& outlets, Pace pace);

// Connects the ends that `bin` contains with the outlets.
void connectEnds(GstElement* bin, const SourceOutlets& outlets);

}  // namespace NimboEngine

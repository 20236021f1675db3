#include "gst/demuxers.h"

#include <gtest/gtest.h>

#include "gst/gst_ptr.h"
#include "gst/runtime.h"

namespace NimboEngine {
namespace {

constexpr int kTry = 0;
constexpr int kSkip = 2;

// Returns decodebin's autoplug decision on that element.
int answerFor(GstElement* decoder, const char* name) {
  GstElementFactory* factory = gst_element_factory_find(name);
  EXPECT_TRUE(factory) << name;
  const GstPtr<GstObject> owned(GST_OBJECT(factory));
  const GstPtr<GstCaps> caps(gst_caps_new_any());
  int answer = -1;
  g_signal_emit_by_name(decoder, "autoplug-select", nullptr, caps.get(), factory, &answer);
  return answer;
}

class Demuxers : public testing::TestWithParam<const char*> {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer()); }
  const GstPtr<GstElement> decoder_{
      GST_ELEMENT(gst_object_ref_sink(gst_element_factory_make(GetParam(), nullptr)))};
};

TEST_P(Demuxers, FetchingElementsAreNotPlugged) {
  restrictDemuxers(decoder_.get(), false);
  for (const char* name : {"hlsdemux", "dashdemux", "mssdemux", "sdpdemux"}) {
    EXPECT_EQ(answerFor(decoder_.get(), name), kSkip) << name;
  }
  for (const char* name : {"qtdemux", "tsdemux", "flvdemux", "h264parse", "avdec_h264"}) {
    EXPECT_EQ(answerFor(decoder_.get(), name), kTry) << name;
  }
}

TEST_P(Demuxers, OnePlaylistMayBePlayed) {
  restrictDemuxers(decoder_.get(), true);
  EXPECT_EQ(answerFor(decoder_.get(), "dashdemux"), kSkip);
  EXPECT_EQ(answerFor(decoder_.get(), "hlsdemux"), kTry);
  EXPECT_EQ(answerFor(decoder_.get(), "hlsdemux"), kSkip) << "in what the first one plays";
}

INSTANTIATE_TEST_SUITE_P(Decoders, Demuxers, testing::Values("decodebin", "uridecodebin"));

}  // namespace
}  // namespace NimboEngine

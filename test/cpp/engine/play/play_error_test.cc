// The classification of errors; real causes are in the end-to-end tests.

#include "play/play_error.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

using namespace LumoRtc;

PipelineMessage error(GQuark domain, int code, std::string debug = {}) {
  PipelineMessage message;
  message.domain = domain;
  message.code = code;
  message.debug = std::move(debug);
  return message;
}

TEST(PlayError, BeforeAnythingPlays) {
  const auto classify = [](const PipelineMessage& message) {
    return classifyPlayError(message, false);
  };
  EXPECT_EQ(classify(error(GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_NOT_FOUND)),
            kLumoLiveErrorStreamNotFound);
  EXPECT_EQ(classify(error(GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_NOT_AUTHORIZED)),
            kLumoLiveErrorPlayRejected);
  EXPECT_EQ(classify(error(GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_READ,
                           "Error on SRT socket: Connection timeout")),
            kLumoLiveErrorConnectTimeout);
  EXPECT_EQ(classify(error(GST_STREAM_ERROR, GST_STREAM_ERROR_TYPE_NOT_FOUND)),
            kLumoLiveErrorUndecodable);
  EXPECT_EQ(classify(error(GST_STREAM_ERROR, GST_STREAM_ERROR_FAILED)), kLumoLiveErrorPlayRejected)
      << "posted when a source's thread has ended";
  EXPECT_EQ(classify(error(GST_CORE_ERROR, GST_CORE_ERROR_MISSING_PLUGIN)),
            kLumoLiveErrorUndecodable);
}

TEST(PlayError, WhilePlayingEverythingButTheDecodersIsTheConnection) {
  for (const int code : {GST_RESOURCE_ERROR_NOT_FOUND, GST_RESOURCE_ERROR_READ}) {
    EXPECT_EQ(classifyPlayError(error(GST_RESOURCE_ERROR, code), true),
              kLumoLiveErrorConnectionLost);
  }
  EXPECT_EQ(classifyPlayError(error(GST_STREAM_ERROR, GST_STREAM_ERROR_DECODE), true),
            kLumoLiveErrorUndecodable);
}

}  // namespace
}  // namespace NimboEngine

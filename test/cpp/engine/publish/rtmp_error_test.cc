#include "publish/rtmp_error.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

using namespace LumoRtc;

PipelineMessage error(int code, const char* text, const char* debug = "") {
  PipelineMessage message;
  message.domain = GST_RESOURCE_ERROR;
  message.code = code;
  message.text = text;
  message.debug = debug;
  return message;
}

LumoLiveErrorCode codeOf(const PipelineMessage& message) {
  return classifyRtmpError(message, false);
}

TEST(RtmpError, TellsTheCausesApart) {
  EXPECT_EQ(codeOf(error(GST_RESOURCE_ERROR_OPEN_READ, "Connection refused")),
            kLumoLiveErrorConnectRefused);
  EXPECT_EQ(
      codeOf(error(GST_RESOURCE_ERROR_FAILED, "x", "f.c:\ndomain g-resolver-error-quark, code 0")),
      kLumoLiveErrorHostNotFound);
  EXPECT_EQ(codeOf(error(GST_RESOURCE_ERROR_FAILED, "x", "domain g-io-error-quark, code 24")),
            kLumoLiveErrorConnectTimeout);
  EXPECT_EQ(codeOf(error(GST_RESOURCE_ERROR_FAILED, "'connect' cmd failed",
                         "domain g-io-error-quark, code 0")),
            kLumoLiveErrorPublishRejected);
  EXPECT_EQ(codeOf(error(GST_RESOURCE_ERROR_FAILED, "publish: NetStream.Publish.BadName")),
            kLumoLiveErrorStreamNameInUse);
  EXPECT_EQ(codeOf(error(GST_RESOURCE_ERROR_WRITE, "closed", "domain g-io-error-quark, code 44")),
            kLumoLiveErrorPublishRejected);
}

TEST(RtmpError, KnowsADenial) {
  EXPECT_EQ(codeOf(error(GST_RESOURCE_ERROR_FAILED, "'publish' cmd failed",
                         "domain g-io-error-quark, code 0")),
            kLumoLiveErrorPublishDenied);
  EXPECT_EQ(codeOf(error(GST_RESOURCE_ERROR_NOT_AUTHORIZED, "not allowed",
                         "domain g-io-error-quark, code 14")),
            kLumoLiveErrorPublishDenied);
}

TEST(RtmpError, DetailsMayBeMissingOrOdd) {
  for (const char* debug : {"", "domain ", ", code 24", "code 24 domain g-io-error-quark",
                            ", code 24 domain g-io-error-quark", "domain x, code many"}) {
    EXPECT_EQ(codeOf(error(GST_RESOURCE_ERROR_FAILED, "x", debug)), kLumoLiveErrorPublishRejected)
        << debug;
  }
}

TEST(RtmpError, EverythingAfterAcceptanceIsALoss) {
  EXPECT_EQ(classifyRtmpError(error(GST_RESOURCE_ERROR_OPEN_READ, "x"), true),
            kLumoLiveErrorConnectionLost);
  EXPECT_EQ(classifyRtmpError(error(GST_RESOURCE_ERROR_WRITE, "x"), true),
            kLumoLiveErrorConnectionLost);
}

}  // namespace
}  // namespace NimboEngine

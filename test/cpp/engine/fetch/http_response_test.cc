#include "fetch/http_response.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <string>

namespace NimboEngine {
namespace {

using Status = HttpResponse::Status;

constexpr std::size_t kLimit = 1000;

struct Parsed {
  Status status{};
  std::string body;
  HttpHead head;
};

// Feeds a response in chunks of that size.
Parsed feed(const std::string& text, std::size_t piece = 1'000'000, bool closes = false) {
  HttpResponse response(kLimit);
  std::vector<uint8_t> body;
  Parsed outcome;
  for (std::size_t at = 0; at < text.size(); at += piece) {
    const std::string part = text.substr(at, piece);
    outcome.status =
        response.feed({reinterpret_cast<const uint8_t*>(part.data()), part.size()}, body);
  }
  if (closes) outcome.status = response.end();
  outcome.body.assign(body.begin(), body.end());
  outcome.head = response.head();
  return outcome;
}

TEST(HttpResponse, ACountedBodyInAnyChunks) {
  const std::string text = "HTTP/1.1 200 OK\r\nContent-Length: 5\r\nX: y\r\n\r\nhellomore";
  for (std::size_t piece = 1; piece <= text.size(); ++piece) {
    const Parsed outcome = feed(text, piece);
    EXPECT_EQ(outcome.status, Status::kComplete);
    EXPECT_EQ(outcome.body, "hello") << "what is behind the end is ignored";
    EXPECT_EQ(outcome.head.status, 200);
    EXPECT_EQ(outcome.head.length, 5U);
  }
}

TEST(HttpResponse, AChunkedBodyInAnySplit) {
  const std::string text =
      "HTTP/1.1 200 OK\r\nTransfer-Encoding: Chunked\r\nContent-Length: 3\r\n\r\n"
      "5\r\nhello\r\nA;name=value\r\n, everyone\r\n0\r\nTrailer: x\r\n\r\n";
  for (std::size_t piece = 1; piece <= text.size(); ++piece) {
    const Parsed outcome = feed(text, piece);
    EXPECT_EQ(outcome.status, Status::kComplete);
    EXPECT_EQ(outcome.body, "hello, everyone");
    EXPECT_FALSE(outcome.head.length) << "chunks are what counts";
  }
}

TEST(HttpResponse, ABodyUntilTheConnectionCloses) {
  EXPECT_EQ(feed("HTTP/1.0 200 OK\n\nhello").status, Status::kBody);
  const Parsed outcome = feed("HTTP/1.0 200 OK\n\nhello", 3, true);
  EXPECT_EQ(outcome.status, Status::kComplete);
  EXPECT_EQ(outcome.body, "hello");
  EXPECT_EQ(feed("ICY 200 OK\r\nicy-name: radio\r\n\r\nhello").body, "hello");
}

TEST(HttpResponse, ClosingInTheMiddleIsMalformed) {
  for (const char* text :
       {"HTTP/1.1 200 OK\r\nA: b\r\n", "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhell",
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n"}) {
    EXPECT_EQ(feed(text, 100, true).status, Status::kMalformed) << text;
  }
}

TEST(HttpResponse, ReadsTheRelevantHeaders) {
  const Parsed partial =
      feed("HTTP/1.1 206 Partial\r\nContent-Range: bytes 10-19/200\r\nContent-Length: 10\r\n\r\n");
  EXPECT_EQ(partial.head.rangeStart, 10U);
  EXPECT_EQ(partial.head.wholeLength, 200U);
  EXPECT_FALSE(feed("HTTP/1.1 206 P\r\nContent-Range: bytes 1-2/*\r\n\r\n").head.wholeLength);
  const Parsed redirect =
      feed("HTTP/1.1 302 Found\r\nlocation:  /there?a=b \r\nContent-Length: 0\r\n\r\n");
  EXPECT_EQ(redirect.head.location, "/there?a=b");
  EXPECT_EQ(redirect.status, Status::kComplete);
  EXPECT_EQ(feed("HTTP/1.1 200 O\r\nContent-Encoding: gzip\r\n\r\n").head.contentCoding, "gzip");
  EXPECT_EQ(feed("HTTP/1.1 200 O\r\nContent-Encoding: identity\r\n\r\n").head.contentCoding, "");
  EXPECT_TRUE(feed("HTTP/1.1 200 O\r\nAccept-Ranges: none\r\n\r\n").head.refusesRanges);
  EXPECT_EQ(feed("HTTP/1.1 204 No\r\n\r\n").status, Status::kComplete);
}

TEST(HttpResponse, SkipsInterimResponses) {
  const Parsed outcome = feed(
      "HTTP/1.1 100 Continue\r\nLocation: /x\r\n\r\nHTTP/1.1 200 OK\r\nContent-Length: "
      "2\r\n\r\nhi");
  EXPECT_EQ(outcome.body, "hi");
  EXPECT_EQ(outcome.head.location, "");
}

TEST(HttpResponse, RefusesInvalidInput) {
  for (const char* text :
       {"hello\r\n", "HTTP/2 200 OK\r\n", "HTTP/1.1 99 X\r\n", "HTTP/1.1 600 X\r\n",
        "HTTP/1.1 101 Switch\r\n", "HTTP/1.1 2x0 OK\r\n", "HTTP/1.1\r\n",
        "HTTP/1.1 200 OK\r\nContent-Length: -1\r\n", "HTTP/1.1 200 OK\r\nContent-Length: 1x\r\n",
        "HTTP/1.1 200 OK\r\nContent-Length: 99999999999999999999\r\n",
        "HTTP/1.1 200 OK\r\nContent-Length: 1\r\nContent-Length: 2\r\n",
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: gzip, chunked\r\n",
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nx\r\n",
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n10000000000000000\r\n",
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n1\r\nab\r\n"}) {
    EXPECT_EQ(feed(text).status, Status::kMalformed) << text;
  }
}

TEST(HttpResponse, HeadersHaveALimit) {
  const std::string tooMuch(kLimit + 1, 'a');
  const std::string ok = "HTTP/1.1 200 OK\r\n";
  const std::string chunked = ok + "Transfer-Encoding: chunked\r\n\r\n";
  std::string many = ok;
  while (many.size() <= kLimit) many += "A: b\r\n";
  std::string interim;
  while (interim.size() <= kLimit) interim += "HTTP/1.1 100 C\r\n\r\n";
  const std::string extension = fmt::format("{}1;{}", chunked, tooMuch);
  const std::string trailer = fmt::format("{}0\r\n{}", chunked, tooMuch);
  for (const std::string& text : {tooMuch, ok + tooMuch, many, interim, extension, trailer}) {
    EXPECT_EQ(feed(text).status, Status::kHeaderLimit) << text.substr(0, 50);
    EXPECT_EQ(feed(text, 7).status, Status::kHeaderLimit) << text.substr(0, 50);
  }
}

TEST(HttpResponse, ManyChunksAreNoHeaders) {
  std::string text = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
  for (std::size_t i = 0; i < kLimit; ++i) text += "1\r\na\r\n";
  EXPECT_EQ(feed(text).body.size(), kLimit);
}

}  // namespace
}  // namespace NimboEngine

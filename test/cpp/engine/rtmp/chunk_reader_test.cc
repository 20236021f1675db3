#include "rtmp/chunk_reader.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "support/rtmp_script.h"

namespace NimboEngine {
namespace {

using test::Bytes;
using test::joined;

struct Received {
  RtmpType type;
  uint32_t timestamp;
  uint32_t stream;
  Bytes body;

  bool operator==(const Received&) const = default;
};

class Reading {
 public:
  // Reads in chunks of `step` bytes.
  explicit Reading(const Bytes& bytes, std::size_t step = SIZE_MAX) {
    for (std::size_t at = 0; at < bytes.size() && outcome; at += std::min(step, bytes.size())) {
      const auto rest = std::span(bytes).subspan(at);
      outcome = reader.read(rest.first(std::min(step, rest.size())), [this](const RtmpMessage& m) {
        messages.push_back({m.type, m.timestamp, m.stream, Bytes(m.body.begin(), m.body.end())});
        return true;
      });
    }
  }

  ChunkReader reader;
  std::vector<Received> messages;
  Result<void, ConnectionError> outcome;
};

std::optional<ConnectionError> readingError(const Bytes& bytes) {
  const Reading reading(bytes);
  if (reading.outcome) return std::nullopt;
  EXPECT_NE(reading.outcome.error().text, "");
  return reading.outcome.error().code;
}

// A chunk with a full header: time stamp, length, type, message stream.
Bytes full(uint32_t time, uint32_t length, uint8_t type, uint8_t stream, const Bytes& payload,
           uint8_t chunks = 4) {
  Bytes bytes = {chunks,
                 static_cast<uint8_t>(time >> 16),
                 static_cast<uint8_t>(time >> 8),
                 static_cast<uint8_t>(time),
                 static_cast<uint8_t>(length >> 16),
                 static_cast<uint8_t>(length >> 8),
                 static_cast<uint8_t>(length),
                 type,
                 stream,
                 0,
                 0,
                 0};
  bytes.insert(bytes.end(), payload.begin(), payload.end());
  return bytes;
}

Bytes chunkSize(uint32_t size) {
  return full(0, 4, 1, 0,
              {static_cast<uint8_t>(size >> 24), static_cast<uint8_t>(size >> 16),
               static_cast<uint8_t>(size >> 8), static_cast<uint8_t>(size)},
              2);
}

TEST(ChunkReader, FollowsEachFormatOfHeader) {
  const Bytes bytes = joined({
      full(1000, 2, 8, 1, {0xa, 0xb}),
      {0x44, 0, 0, 20, 0, 0, 1, 9, 0xc},  // format 1: 20 ms later, another length and type
      {0x84, 0, 0, 30, 0xd},              // format 2: 30 ms later
      {0xc4, 0xe},                        // format 3: the same again
      full(5000, 1, 9, 1, {0xf}),
      {0xc4, 0x1},  // right behind a full header: the same time
  });
  const std::vector<Received> expected = {
      {RtmpType::kAudio, 1000, 1, {0xa, 0xb}}, {RtmpType::kVideo, 1020, 1, {0xc}},
      {RtmpType::kVideo, 1050, 1, {0xd}},      {RtmpType::kVideo, 1080, 1, {0xe}},
      {RtmpType::kVideo, 5000, 1, {0xf}},      {RtmpType::kVideo, 5000, 1, {0x1}}};
  for (const std::size_t step : {std::size_t{1}, std::size_t{3}, SIZE_MAX}) {
    const Reading reading(bytes, step);
    EXPECT_TRUE(reading.outcome);
    EXPECT_EQ(reading.messages, expected) << step;
  }
}

TEST(ChunkReader, InterleavedMessagesOfManyChunkStreams) {
  Bytes first(200, 1);
  Bytes second(130, 2);
  const Bytes bytes = joined({
      full(0, 200, 9, 1, Bytes(128, 1), 4),
      {0x00, 9, 0, 0, 7, 0, 0, 130, 8, 1, 0, 0, 0},  // chunk stream 73, in two bytes
      Bytes(128, 2),
      {0xc4},
      Bytes(72, 1),
      {0xc0, 9},
      Bytes(2, 2),
      {0x01, 0xff, 0xff, 0, 0, 9, 0, 0, 1, 8, 1, 0, 0, 0, 3},  // 65599, the last there is
  });
  const Reading reading(bytes, 1);
  EXPECT_EQ(reading.messages, (std::vector<Received>{{RtmpType::kVideo, 0, 1, first},
                                                     {RtmpType::kAudio, 7, 1, second},
                                                     {RtmpType::kAudio, 9, 1, {3}}}));
  EXPECT_EQ(reading.reader.pendingBytes(), 0u);
}

TEST(ChunkReader, ExtendedTimestamps) {
  const Bytes header = {4, 0xff, 0xff, 0xff, 0, 0, 130, 9, 1, 0, 0, 0};
  const Bytes time = {0x01, 0x02, 0x03, 0x04};
  const Bytes whole = Bytes(130, 7);
  struct Case {
    const char* name;
    Bytes bytes;
  };
  const Case cases[] = {
      {"repeated in each chunk", joined({header, time, Bytes(128, 7), {0xc4}, time, {7, 7}})},
      {"not repeated", joined({header, time, Bytes(128, 7), {0xc4}, {7, 7}, {0x02, 0, 0}})},
  };
  for (const Case& each : cases) {
    for (const std::size_t step : {std::size_t{1}, std::size_t{5}, SIZE_MAX}) {
      const Reading reading(each.bytes, step);
      ASSERT_EQ(reading.messages.size(), 1u) << each.name;
      EXPECT_EQ(reading.messages[0], (Received{RtmpType::kVideo, 0x01020304, 1, whole}))
          << each.name;
    }
  }
}

TEST(ChunkReader, ExtendedDifferencesAndWrapping) {
  const Bytes bytes = joined({
      {4, 0xff, 0xff, 0xff, 0, 0, 1, 9, 1, 0, 0, 0, 0xff, 0xff, 0xff, 0xf0, 1},
      {0x84, 0, 0, 0x20, 2},                       // 32 ms later it has wrapped
      {0x84, 0xff, 0xff, 0xff, 0x01, 0, 0, 0, 3},  // an extended difference
      {0xc4, 0x01, 0, 0, 0, 4},                    // the same again
  });
  const Reading reading(bytes, 1);
  ASSERT_EQ(reading.messages.size(), 4u);
  EXPECT_EQ(reading.messages[1].timestamp, 0x10u);
  EXPECT_EQ(reading.messages[2].timestamp, 0x01000010u);
  EXPECT_EQ(reading.messages[3].timestamp, 0x02000010u);
}

TEST(ChunkReader, ChunkSizeChanges) {
  const Bytes body(300, 5);
  for (const uint32_t size : {1u, 2u, 299u, 300u, 65'536u, 0xffffffu, 0x7fffffffu}) {
    Bytes bytes = chunkSize(size);
    Bytes message = full(0, 300, 9, 1, {});
    for (std::size_t at = 0; at < body.size(); at += size) {
      if (at > 0) message.push_back(0xc4);
      message.insert(message.end(), std::min<std::size_t>(size, body.size() - at), 5);
    }
    bytes.insert(bytes.end(), message.begin(), message.end());
    const Reading reading(bytes);
    ASSERT_EQ(reading.messages.size(), 1u) << size;
    EXPECT_EQ(reading.messages[0].body, body) << size;
    EXPECT_LE(reading.reader.chunkSize(), ChunkReader::kMaxChunkSize);
  }
}

TEST(ChunkReader, EmptyMessages) {
  const Reading reading(joined({full(5, 0, 8, 1, {}), full(6, 1, 8, 1, {9})}));
  EXPECT_EQ(reading.messages,
            (std::vector<Received>{{RtmpType::kAudio, 5, 1, {}}, {RtmpType::kAudio, 6, 1, {9}}}));
}

TEST(ChunkReader, AbortedAndRestartedMessagesAreDropped) {
  const Reading reading(joined({
      full(0, 200, 9, 1, Bytes(128, 1), 4),
      full(0, 4, 2, 0, {0, 0, 0, 4}, 2),   // abort chunk stream 4
      full(0, 4, 2, 0, {0, 0, 0, 99}, 2),  // and one that does not exist
      full(0, 200, 9, 1, Bytes(128, 1), 5), full(7, 1, 9, 1, {3}, 5),  // begins again in the middle
  }));
  EXPECT_TRUE(reading.outcome);
  EXPECT_EQ(reading.messages, (std::vector<Received>{{RtmpType::kVideo, 7, 1, {3}}}));
  EXPECT_EQ(reading.reader.pendingBytes(), 0u);
}

TEST(ChunkReader, RefusesInvalidInput) {
  struct Case {
    const char* name;
    Bytes bytes;
    ConnectionError error;
  };
  const Case cases[] = {
      {"chunk size 0", chunkSize(0), ConnectionError::kProtocolViolation},
      {"chunk size -1", chunkSize(0xffffffff), ConnectionError::kProtocolViolation},
      {"chunk size -2^31", chunkSize(0x80000000), ConnectionError::kProtocolViolation},
      {"a chunk size without a value", full(0, 2, 1, 0, {0, 1}),
       ConnectionError::kProtocolViolation},
      {"an abort without a value", full(0, 0, 2, 0, {}), ConnectionError::kProtocolViolation},
      {"format 2 first", {0x84, 0, 0, 1, 9}, ConnectionError::kProtocolViolation},
      {"format 3 first", {0xc4, 9}, ConnectionError::kProtocolViolation},
      {"a message of 16 MB", full(0, 0xffffff, 9, 1, {}), ConnectionError::kLimitExceeded},
  };
  for (const Case& each : cases) EXPECT_EQ(readingError(each.bytes), each.error) << each.name;
}

TEST(ChunkReader, ManyChunkStreamsWithPendingMessages) {
  Bytes bytes;
  for (int i = 0; i < 20'000; ++i) {
    const Bytes chunk = joined({{0x01, static_cast<uint8_t>(i), static_cast<uint8_t>(i >> 8), 0, 0,
                                 0, 0, 1, 0, 9, 1, 0, 0, 0},
                                Bytes(128, 1)});
    bytes.insert(bytes.end(), chunk.begin(), chunk.end());
  }
  const Reading reading(bytes);
  ASSERT_FALSE(reading.outcome);
  EXPECT_EQ(reading.outcome.error().code, ConnectionError::kLimitExceeded);
  EXPECT_EQ(reading.reader.pendingBytes(), ChunkReader::kMaxChunkStreams * 128);
}

TEST(ChunkReader, UnfinishedMessagesAreLimitedTogether) {
  ChunkReader reader;
  const auto ignore = [](const RtmpMessage&) { return true; };
  ASSERT_TRUE(reader.read(chunkSize(ChunkReader::kMaxMessageBytes - 1), ignore));
  Result<void, ConnectionError> outcome;
  const Bytes payload(ChunkReader::kMaxMessageBytes - 1, 1);
  for (uint8_t chunks = 4; chunks < 8 && outcome; ++chunks) {
    // All but the last byte, in one chunk.
    outcome = reader.read(full(0, ChunkReader::kMaxMessageBytes, 9, 1, payload, chunks), ignore);
  }
  ASSERT_FALSE(outcome);
  EXPECT_EQ(outcome.error().code, ConnectionError::kLimitExceeded);
  EXPECT_EQ(outcome.error().text.find("more than 16777216 bytes"), 0u) << outcome.error().text;
}

TEST(ChunkReader, NothingIsReadOnceTheHandlerRefuses) {
  ChunkReader reader;
  int calls = 0;
  const Bytes bytes = joined({full(0, 1, 8, 1, {1}), full(0, 1, 8, 1, {2})});
  const auto once = [&](const RtmpMessage&) { return ++calls > 1; };
  EXPECT_TRUE(reader.read(bytes, once));
  EXPECT_TRUE(reader.read(bytes, once));
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace NimboEngine

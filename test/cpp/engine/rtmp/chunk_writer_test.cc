#include "rtmp/chunk_writer.h"

#include <gtest/gtest.h>

#include "rtmp/chunk_reader.h"
#include "support/rtmp_script.h"

namespace NimboEngine {
namespace {

using test::Bytes;

TEST(ChunkWriter, RoundTrips) {
  struct Case {
    uint32_t timestamp;
    std::size_t size;
    uint32_t stream;
  };
  const Case cases[] = {{0, 0, 1},          {20, 1, 1},         {40, 127, 1},
                        {60, 128, 1},       {80, 129, 1},       {70, 5000, 1},
                        {90, 10, 0},        {0xfffffe, 300, 1}, {0xffffff, 300, 1},
                        {0x1000010, 40, 1}, {0x1000000, 9, 1},  {0xffffffff, 400, 1},
                        {5, 300, 1}};
  for (const uint32_t chunkSize : {1u, 128u, 4096u, 65'536u}) {
    ChunkWriter writer;
    ChunkReader reader;
    Bytes out;
    Bytes announcement = {0, 0, 0, 0};
    for (int i = 0; i < 4; ++i)
      announcement[3 - static_cast<std::size_t>(i)] = static_cast<uint8_t>(chunkSize >> 8 * i);
    writer.write(out, 2, {RtmpType::kSetChunkSize, 0, 0, announcement});
    writer.setChunkSize(chunkSize);
    std::vector<Bytes> bodies;
    for (const Case& each : cases) {
      bodies.emplace_back(each.size, static_cast<uint8_t>(each.size));
      writer.write(out, 6, {RtmpType::kVideo, each.timestamp, each.stream, bodies.back()});
    }
    std::size_t index = 0;
    const auto outcome = reader.read(out, [&](const RtmpMessage& message) {
      EXPECT_EQ(message.timestamp, cases[index].timestamp) << index;
      EXPECT_EQ(message.stream, cases[index].stream) << index;
      EXPECT_EQ(message.type, RtmpType::kVideo);
      EXPECT_EQ(Bytes(message.body.begin(), message.body.end()), bodies[index]) << index;
      ++index;
      return true;
    });
    EXPECT_TRUE(outcome) << outcome.error().text;
    EXPECT_EQ(index, std::size(cases)) << "chunks of " << chunkSize;
  }
}

TEST(ChunkWriter, HeadersShrinkWhileTheStreamStays) {
  ChunkWriter writer;
  const Bytes body = {1};
  const auto sizeOf = [&](uint32_t chunks, uint32_t time, uint32_t stream) {
    Bytes out;
    writer.write(out, chunks, {RtmpType::kAudio, time, stream, body});
    return out.size() - body.size();
  };
  EXPECT_EQ(sizeOf(4, 100, 1), 12u);
  EXPECT_EQ(sizeOf(4, 120, 1), 8u);
  EXPECT_EQ(sizeOf(6, 120, 1), 12u) << "another chunk stream";
  EXPECT_EQ(sizeOf(4, 110, 1), 12u) << "a time stamp that goes back";
  EXPECT_EQ(sizeOf(4, 130, 2), 12u) << "another message stream";
}

TEST(ChunkWriter, TheBodyIsCopiedChunkByChunk) {
  ChunkWriter writer;
  Bytes out;
  std::vector<std::pair<std::size_t, std::size_t>> pieces;
  writer.write(out, 4, {RtmpType::kVideo, 0, 1, {}}, 300,
               [&](std::size_t offset, std::span<uint8_t> target) {
                 pieces.emplace_back(offset, target.size());
               });
  EXPECT_EQ(pieces,
            (std::vector<std::pair<std::size_t, std::size_t>>{{0, 128}, {128, 128}, {256, 44}}));
}

}  // namespace
}  // namespace NimboEngine

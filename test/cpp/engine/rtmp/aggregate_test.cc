#include "rtmp/aggregate.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/rtmp_script.h"

namespace NimboEngine {
namespace {

using test::Bytes;
using test::joined;

Bytes part(uint8_t type, uint32_t time, const Bytes& body) {
  const auto size = static_cast<uint8_t>(body.size());
  return joined(
      {{type, 0, 0, size, static_cast<uint8_t>(time >> 16), static_cast<uint8_t>(time >> 8),
        static_cast<uint8_t>(time), static_cast<uint8_t>(time >> 24), 0, 0, 0},
       body,
       {0, 0, 0, static_cast<uint8_t>(size + 11)}});
}

struct Seen {
  RtmpType type;
  uint32_t timestamp;
  std::size_t size;
  bool operator==(const Seen&) const = default;
};

bool split(const Bytes& body, std::vector<Seen>& seen, uint32_t timestamp = 1000) {
  return splitAggregate({RtmpType::kAggregate, timestamp, 1, body}, [&](const RtmpMessage& m) {
    EXPECT_EQ(m.stream, 1u);
    seen.push_back({m.type, m.timestamp, m.body.size()});
  });
}

TEST(Aggregate, PartsKeepTheirDistances) {
  std::vector<Seen> seen;
  EXPECT_TRUE(split(joined({part(8, 50, {1}), part(9, 70, {1, 2}), part(8, 60, {})}), seen));
  EXPECT_EQ(seen, (std::vector<Seen>{{RtmpType::kAudio, 1000, 1},
                                     {RtmpType::kVideo, 1020, 2},
                                     {RtmpType::kAudio, 1010, 0}}));
}

TEST(Aggregate, TimesMayWrap) {
  std::vector<Seen> seen;
  EXPECT_TRUE(split(joined({part(8, 0xfffffff0, {1}), part(8, 0x10, {1})}), seen, 0xfffffff8));
  EXPECT_EQ(seen,
            (std::vector<Seen>{{RtmpType::kAudio, 0xfffffff8, 1}, {RtmpType::kAudio, 0x18, 1}}));
}

TEST(Aggregate, NothingNests) {
  std::vector<Seen> seen;
  EXPECT_TRUE(split(part(22, 0, part(8, 0, {1})), seen));
  EXPECT_TRUE(seen.empty());
}

TEST(Aggregate, APartMayBeCut) {
  const Bytes whole = joined({part(8, 0, {1, 2}), part(9, 0, {3, 4})});
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    std::vector<Seen> seen;
    const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    // A missing size behind a part is no loss.
    const bool complete = size == 0 || (size >= 13 && size <= 17) || size >= 30;
    EXPECT_EQ(split(cut, seen), complete) << size;
    EXPECT_EQ(seen.size(), size >= 30 ? 2u : size >= 13 ? 1u : 0u) << size;
  }
}

}  // namespace
}  // namespace NimboEngine

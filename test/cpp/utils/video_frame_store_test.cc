#include "utils/video_frame_store.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <thread>

#include "utils/i420_reference.h"

namespace LumoLivePushElectronSDK {
namespace {

using LumoRtc::kLumoLiveVideoSourceCamera;
using LumoRtc::kLumoLiveVideoSourceScreen;
using testing::FrameShape;
using testing::OwnedFrame;
using testing::ReferenceFrame;
using testing::Tight;

class RecordingObserver final : public VideoRenderDataObserver {
 public:
  void OnVideoRenderDataNeedUpdate(std::string& uid) override {
    calls.push_back(uid);
    if (during_call) during_call();
  }
  std::vector<std::string> calls;
  std::function<void()> during_call;
};

using Bytes = std::vector<unsigned char>;

class VideoFrameStoreTest : public ::testing::Test {
 protected:
  int Store(const std::string& user, const OwnedFrame& frame,
            LumoRtc::LumoLiveVideoSource source = kLumoLiveVideoSourceCamera) {
    return store_.Store(user, source, &frame.raw(), &observer_);
  }

  // The bytes of each slot, empty for one that is not fresh.
  std::array<Bytes, kFrameSlots> Take(const std::string& user) {
    const auto fresh = store_.PeekFresh(user).value();
    std::array<Bytes, kFrameSlots> bytes;
    FrameTargets targets{};
    for (std::size_t i = 0; i < kFrameSlots; ++i) {
      if (fresh[i]) bytes[i].resize(fresh[i]->size);
      targets[i] = bytes[i].data();
    }
    EXPECT_TRUE(store_.TakeFresh(user, fresh, targets));
    return bytes;
  }

  RecordingObserver observer_;
  VideoFrameStore store_;
};

TEST_F(VideoFrameStoreTest, UnknownUserHasNothingToPeekOrTake) {
  EXPECT_FALSE(store_.PeekFresh("nobody"));
  EXPECT_FALSE(store_.TakeFresh("nobody", {}, {}));
}

TEST_F(VideoFrameStoreTest, RefusedFramesChangeNothing) {
  EXPECT_EQ(store_.Store("u", kLumoLiveVideoSourceCamera, nullptr, &observer_), -1);
  EXPECT_FALSE(store_.PeekFresh("u"));

  const OwnedFrame good(Tight(16, 4));
  ASSERT_EQ(Store("u", good), 0);
  auto bad = good.raw();
  bad.strideU = 0;
  RecordingObserver other;
  EXPECT_EQ(store_.Store("u", kLumoLiveVideoSourceCamera, &bad, &other), -1);
  store_.NotifyObservers();
  EXPECT_EQ(observer_.calls, std::vector<std::string>{"u"});
  EXPECT_TRUE(other.calls.empty());
  EXPECT_EQ(Take("u")[0], good.bytes());
}

TEST_F(VideoFrameStoreTest, StoresAndRepacks) {
  const OwnedFrame aligned(Tight(640, 360));
  const OwnedFrame odd(Tight(642, 361));
  ASSERT_EQ(Store("aligned", aligned), 0);
  ASSERT_EQ(Store("odd", odd), 0);
  EXPECT_EQ(Take("aligned")[0], aligned.bytes());
  const auto layout = store_.PeekFresh("odd").value()[0].value();
  EXPECT_EQ(layout.width, 648U);
  EXPECT_EQ(layout.height, 361U);
  EXPECT_EQ(Take("odd")[0], ReferenceFrame(odd).bytes);
}

TEST_F(VideoFrameStoreTest, SourceOneHasTheSecondSlotAndAllOthersTheFirst) {
  const OwnedFrame camera(Tight(16, 4), 1), screen(Tight(8, 2), 2), third(Tight(24, 2), 3);
  ASSERT_EQ(Store("u", camera), 0);
  ASSERT_EQ(Store("u", screen, kLumoLiveVideoSourceScreen), 0);
  auto taken = Take("u");
  EXPECT_EQ(taken[0], camera.bytes());
  EXPECT_EQ(taken[1], screen.bytes());

  ASSERT_EQ(Store("u", third, static_cast<LumoRtc::LumoLiveVideoSource>(7)), 0);
  taken = Take("u");
  EXPECT_EQ(taken[0], third.bytes());
  EXPECT_TRUE(taken[1].empty());
}

TEST_F(VideoFrameStoreTest, NewerFrameReplacesOlderAndIsTakenOnce) {
  const OwnedFrame older(Tight(16, 4), 1), newer(Tight(16, 4), 2);
  ASSERT_EQ(Store("u", older), 0);
  ASSERT_EQ(Store("u", newer), 0);
  EXPECT_EQ(Take("u")[0], newer.bytes());
  EXPECT_EQ(store_.PeekFresh("u").value(), FreshFrames());
}

TEST_F(VideoFrameStoreTest, BufferFollowsTheNeedAtEqualDimensions) {
  const OwnedFrame tight(FrameShape{16, 4, 16, 8, 8}, 1);
  const OwnedFrame padded(FrameShape{16, 4, 64, 32, 48}, 2);
  for (const auto* frame : {&tight, &padded, &tight, &padded}) {
    ASSERT_EQ(Store("u", *frame), 0);
    EXPECT_EQ(Take("u")[0], frame->bytes());
  }
}

TEST_F(VideoFrameStoreTest, NothingOfAnOlderFrameShowsAroundARepackedOne) {
  const OwnedFrame full(Tight(648, 4), 1), centred(Tight(642, 4), 2);
  ASSERT_EQ(Store("u", full), 0);
  ASSERT_EQ(Store("u", centred), 0);
  EXPECT_EQ(Take("u")[0], ReferenceFrame(centred).bytes);
}

TEST_F(VideoFrameStoreTest, TakeIsRefusedWhenTheLayoutChangedAfterThePeek) {
  const OwnedFrame camera(Tight(16, 4), 1), screen(Tight(8, 2), 2), wider(Tight(24, 4), 3);
  ASSERT_EQ(Store("u", camera), 0);
  ASSERT_EQ(Store("u", screen, kLumoLiveVideoSourceScreen), 0);
  const auto peeked = store_.PeekFresh("u").value();
  ASSERT_EQ(Store("u", wider), 0);
  Bytes first(peeked[0]->size), second(peeked[1]->size);
  EXPECT_FALSE(store_.TakeFresh("u", peeked, {first.data(), second.data()}));
  EXPECT_EQ(first, Bytes(first.size()));  // nothing was copied
  EXPECT_EQ(second, Bytes(second.size()));
  const auto taken = Take("u");  // and nothing was lost
  EXPECT_EQ(taken[0], wider.bytes());
  EXPECT_EQ(taken[1], screen.bytes());
}

TEST_F(VideoFrameStoreTest, TakeReturnsTheNewestBytesOfTheSameLayout) {
  const OwnedFrame older(Tight(16, 4), 1), newer(Tight(16, 4), 2), screen(Tight(8, 2), 3);
  ASSERT_EQ(Store("u", older), 0);
  const auto peeked = store_.PeekFresh("u").value();
  ASSERT_EQ(Store("u", newer), 0);
  ASSERT_EQ(Store("u", screen, kLumoLiveVideoSourceScreen), 0);
  Bytes bytes(peeked[0]->size);
  ASSERT_TRUE(store_.TakeFresh("u", peeked, {bytes.data(), nullptr}));
  EXPECT_EQ(bytes, newer.bytes());
  EXPECT_EQ(Take("u")[1], screen.bytes());  // it came after the peek and stays for the next one
}

TEST_F(VideoFrameStoreTest, TakeIsRefusedWhenAnotherTookFirst) {
  ASSERT_EQ(Store("u", OwnedFrame(Tight(16, 4))), 0);
  const auto peeked = store_.PeekFresh("u").value();
  Take("u");
  Bytes bytes(peeked[0]->size);
  EXPECT_FALSE(store_.TakeFresh("u", peeked, {bytes.data(), nullptr}));
}

TEST_F(VideoFrameStoreTest, NotifiesFreshUsersInKeyOrderUntilTaken) {
  const OwnedFrame frame(Tight(8, 2));
  for (const char* user : {"preview", "0x1f", "b", "", "B"}) ASSERT_EQ(Store(user, frame), 0);
  ASSERT_EQ(Store("b", frame, kLumoLiveVideoSourceScreen), 0);
  store_.NotifyObservers();
  const std::vector<std::string> in_order = {"", "0x1f", "B", "b", "preview"};
  EXPECT_EQ(observer_.calls, in_order);

  observer_.calls.clear();
  Take("B");
  store_.NotifyObservers();
  EXPECT_EQ(observer_.calls, (std::vector<std::string>{"", "0x1f", "b", "preview"}));
}

TEST_F(VideoFrameStoreTest, DroppedFramesAreNotNotifiedAgainAndNotTaken) {
  const OwnedFrame frame(Tight(16, 4));
  ASSERT_EQ(Store("u", frame), 0);
  ASSERT_EQ(Store("u", frame, kLumoLiveVideoSourceScreen), 0);
  store_.DropFresh("u", &observer_);
  store_.DropFresh("nobody", &observer_);
  store_.NotifyObservers();
  EXPECT_TRUE(observer_.calls.empty());
  EXPECT_EQ(store_.PeekFresh("u").value(), FreshFrames());
  ASSERT_EQ(Store("u", frame), 0);
  store_.NotifyObservers();
  EXPECT_EQ(observer_.calls, std::vector<std::string>{"u"});
}

TEST_F(VideoFrameStoreTest, AnObserverDropsOnlyFramesOfItsOwn) {
  const OwnedFrame frame(Tight(16, 4));
  ASSERT_EQ(Store("u", frame), 0);
  const RecordingObserver previous;
  store_.DropFresh("u", &previous);
  EXPECT_EQ(Take("u")[0], frame.bytes());
}

TEST_F(VideoFrameStoreTest, LastObserverOfAUserWinsAndMayBeNull) {
  const OwnedFrame frame(Tight(8, 2));
  RecordingObserver later;
  ASSERT_EQ(Store("u", frame), 0);
  ASSERT_EQ(store_.Store("u", kLumoLiveVideoSourceScreen, &frame.raw(), &later), 0);
  ASSERT_EQ(Store("v", frame), 0);
  ASSERT_EQ(store_.Store("v", kLumoLiveVideoSourceCamera, &frame.raw(), nullptr), 0);
  store_.NotifyObservers();
  EXPECT_TRUE(observer_.calls.empty());
  EXPECT_EQ(later.calls, std::vector<std::string>{"u"});
}

TEST_F(VideoFrameStoreTest, ClearedObserverIsForgottenWhereItWasSet) {
  const OwnedFrame frame(Tight(8, 2));
  RecordingObserver kept;
  ASSERT_EQ(Store("a", frame), 0);
  ASSERT_EQ(store_.Store("b", kLumoLiveVideoSourceCamera, &frame.raw(), &kept), 0);
  ASSERT_EQ(Store("c", frame), 0);
  store_.ClearObserver(&observer_);
  store_.NotifyObservers();
  EXPECT_TRUE(observer_.calls.empty());
  EXPECT_EQ(kept.calls, std::vector<std::string>{"b"});
  EXPECT_EQ(Take("a")[0], frame.bytes());  // the frame itself stays
}

TEST_F(VideoFrameStoreTest, ObserverMayCallBackDuringANotification) {
  const OwnedFrame frame(Tight(8, 2));
  ASSERT_EQ(Store("a", frame), 0);
  ASSERT_EQ(Store("c", frame), 0);
  observer_.during_call = [&] {
    ASSERT_EQ(Store("b", frame), 0);
    Take("b");
    store_.ClearObserver(&observer_);
  };
  store_.NotifyObservers();
  EXPECT_EQ(observer_.calls, std::vector<std::string>{"a"});
}

TEST_F(VideoFrameStoreTest, ClearObserverWaitsForTheCallInProgress) {
  ASSERT_EQ(Store("u", OwnedFrame(Tight(8, 2))), 0);
  std::promise<void> called;
  std::atomic<bool> clearing = false, in_call = true;
  observer_.during_call = [&] {
    called.set_value();
    while (!clearing) std::this_thread::yield();
    in_call = false;
  };
  std::thread notifier([this] { store_.NotifyObservers(); });
  called.get_future().wait();
  clearing = true;
  store_.ClearObserver(&observer_);
  EXPECT_FALSE(in_call);
  notifier.join();
}

TEST_F(VideoFrameStoreTest, WritersTakersAndNotifiersConcurrently) {
  constexpr int kRounds = 300;
  const OwnedFrame small(Tight(10, 6), 1), large(Tight(34, 8), 2);
  const auto small_bytes = ReferenceFrame(small).bytes;
  const auto large_bytes = ReferenceFrame(large).bytes;
  std::atomic<bool> done = false;
  ASSERT_EQ(Store("u", small), 0);

  std::thread camera([&] {
    for (int i = 0; i < kRounds; ++i) Store("u", i % 2 ? small : large);
  });
  std::thread screen([&] {
    for (int i = 0; i < kRounds; ++i) Store("u", i % 3 ? large : small, kLumoLiveVideoSourceScreen);
  });
  std::thread notifier([&] {
    while (!done) {
      store_.NotifyObservers();
      std::this_thread::yield();
    }
  });
  int taken = 0;
  const auto take_whole_frames = [&] {
    const auto fresh = store_.PeekFresh("u").value();
    std::array<Bytes, kFrameSlots> bytes;
    FrameTargets targets{};
    for (std::size_t i = 0; i < kFrameSlots; ++i) {
      if (fresh[i]) bytes[i].resize(fresh[i]->size);
      targets[i] = bytes[i].data();
    }
    if (!store_.TakeFresh("u", fresh, targets)) return;
    for (const auto& frame : bytes) {
      if (frame.empty()) continue;
      ++taken;
      ASSERT_TRUE(frame == small_bytes || frame == large_bytes);
    }
  };
  for (int i = 0; i < kRounds; ++i) take_whole_frames();
  camera.join();
  screen.join();
  done = true;
  notifier.join();
  take_whole_frames();
  EXPECT_GT(taken, 0);
  EXPECT_EQ(store_.PeekFresh("u").value(), FreshFrames());
}

}  // namespace
}  // namespace LumoLivePushElectronSDK

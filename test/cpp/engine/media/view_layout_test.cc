#include "media/view_layout.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

TEST(ViewLayout, TheSameAspectRatioFillsTheView) {
  for (const ViewMode mode : {ViewMode::kFit, ViewMode::kCrop, ViewMode::kStretch}) {
    const ViewLayout layout = layOut({1280, 720}, {640, 360}, mode);
    EXPECT_EQ(layout.source, (Rect{0, 0, 1280, 720}));
    EXPECT_EQ(layout.target, (Rect{0, 0, 640, 360}));
  }
}

TEST(ViewLayout, FitLeavesBordersAtTheSides) {
  EXPECT_EQ(layOut({640, 480}, {1280, 720}, ViewMode::kFit).target, (Rect{160, 0, 960, 720}));
}

TEST(ViewLayout, FitLeavesBordersAboveAndBelow) {
  EXPECT_EQ(layOut({1280, 720}, {640, 480}, ViewMode::kFit).target, (Rect{0, 60, 640, 360}));
}

TEST(ViewLayout, CropCutsTheSides) {
  const ViewLayout layout = layOut({1280, 720}, {640, 480}, ViewMode::kCrop);
  EXPECT_EQ(layout.source, (Rect{160, 0, 960, 720}));
  EXPECT_EQ(layout.target, (Rect{0, 0, 640, 480}));
}

TEST(ViewLayout, CropCutsAboveAndBelow) {
  EXPECT_EQ(layOut({640, 480}, {1280, 720}, ViewMode::kCrop).source, (Rect{0, 60, 640, 360}));
}

TEST(ViewLayout, StretchKeepsEverything) {
  const ViewLayout layout = layOut({640, 480}, {100, 900}, ViewMode::kStretch);
  EXPECT_EQ(layout.source, (Rect{0, 0, 640, 480}));
  EXPECT_EQ(layout.target, (Rect{0, 0, 100, 900}));
}

TEST(ViewLayout, APlaceInsideIsWholeAndBeginsAtEvenPlaces) {
  const auto layout = layOut({640, 480}, {100, 50, 200, 200}, {1280, 720}, ViewMode::kFit);
  EXPECT_EQ(layout, (ViewLayout{{0, 0, 640, 480}, {100, 74, 200, 151}}));
}

TEST(ViewLayout, PartsOutsideTheViewAreClipped) {
  const struct {
    Rect place;
    std::optional<ViewLayout> layout;
  } cases[] = {
      {{-50, 0, 100, 100}, ViewLayout{{200, 0, 200, 400}, {0, 0, 50, 100}}},
      {{60, 80, 100, 100}, ViewLayout{{0, 0, 160, 80}, {60, 80, 40, 20}}},
      {{-100, -100, 400, 400}, ViewLayout{{100, 100, 100, 100}, {0, 0, 100, 100}}},
      {{-99, 0, 100, 100}, ViewLayout{{396, 0, 4, 400}, {0, 0, 1, 100}}},
      {{11, 21, 20, 79}, ViewLayout{{148, 0, 101, 400}, {10, 20, 21, 80}}},
      {{-100, 0, 100, 100}, std::nullopt},
      {{0, 100, 100, 100}, std::nullopt},
  };
  for (const auto& [place, layout] : cases) {
    EXPECT_EQ(layOut({400, 400}, place, {100, 100}, ViewMode::kCrop), layout) << place.x;
  }
}

TEST(ViewLayout, ExtremeAspectRatiosStayInside) {
  for (const Size frame : {Size{1, 1}, Size{8000, 1}, Size{1, 8000}, Size{641, 361}}) {
    for (const Size view : {Size{1, 1}, Size{32767, 1}, Size{1, 32767}, Size{333, 77}}) {
      for (const ViewMode mode : {ViewMode::kFit, ViewMode::kCrop}) {
        const auto [source, target] = layOut(frame, view, mode);
        const auto expectInside = [](Rect rect, Size room) {
          EXPECT_GE(rect.x, 0);
          EXPECT_GE(rect.y, 0);
          EXPECT_GE(rect.width, 1);
          EXPECT_GE(rect.height, 1);
          EXPECT_LE(rect.x + rect.width, room.width);
          EXPECT_LE(rect.y + rect.height, room.height);
        };
        expectInside(source, frame);
        expectInside(target, view);
        EXPECT_EQ((source.x | source.y) & 1, 0);
      }
    }
  }
}

}  // namespace
}  // namespace NimboEngine

// The JSON parameters of an example plug-in. Accepted parameters must not make it write outside of
// the frame.

#include <array>

#include "common/frame_plugin.h"
#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  constexpr int kWidth = 9;
  constexpr int kHeight = 5;
  constexpr int kChromaWidth = (kWidth + 1) / 2;
  constexpr int kChromaHeight = (kHeight + 1) / 2;
  const std::string text = NimboEngine::test::textOf(data, size);
  const auto plugin = ExamplePlugins::createPlugin();
  plugin->enable(true);
  plugin->setParameter(text.c_str());
  std::array<unsigned char, kWidth * kHeight + 2 * kChromaWidth * kChromaHeight> pixels{};
  for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<unsigned char>(i * 3);
  LumoLivePushElectronSDK::VideoFrame frame{.data = pixels.data(),
                                            .strideY = kWidth,
                                            .strideU = kChromaWidth,
                                            .strideV = kChromaWidth,
                                            .height = kHeight,
                                            .width = kWidth};
  plugin->processVideoFrame(&frame, &frame);
  return 0;
}

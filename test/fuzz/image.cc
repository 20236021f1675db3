// decodeImage: PNG and JPEG.

#include "capture/image_file.h"

#include "fuzz.h"

using NimboEngine::decodeImage;
using NimboEngine::test::require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  gst_init(nullptr, nullptr);
  const auto image = decodeImage({data, size});
  require(image ? image->pixels != nullptr : !image.error().text.empty(),
          "either an image or an error");
  if (!image) return 0;
  const auto pixels = uint64_t{static_cast<uint32_t>(GST_VIDEO_INFO_WIDTH(&image->info))} *
                      static_cast<uint32_t>(GST_VIDEO_INFO_HEIGHT(&image->info));
  require(pixels <= 40'000'000, "the size is within the limit");
  require(gst_buffer_get_size(image->pixels.get()) == pixels * 4, "four bytes a pixel");
  return 0;
}

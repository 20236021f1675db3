#include "text_reader.h"

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>

namespace ExamplePluginTests {
namespace {

constexpr int kInk = 140;  // from this brightness on
constexpr int kColumns = 12;
constexpr int kRows = 16;

std::string fontFile() {
  using Pattern = std::unique_ptr<FcPattern, decltype(&FcPatternDestroy)>;
  const Pattern wanted(FcNameParse(reinterpret_cast<const FcChar8*>("monospace:bold")),
                       &FcPatternDestroy);
  FcConfigSubstitute(nullptr, wanted.get(), FcMatchPattern);
  FcDefaultSubstitute(wanted.get());
  FcResult result{};
  const Pattern found(FcFontMatch(nullptr, wanted.get(), &result), &FcPatternDestroy);
  FcChar8* file = nullptr;
  if (!found || FcPatternGetString(found.get(), FC_FILE, 0, &file) != FcResultMatch) {
    throw std::runtime_error("no monospace font");
  }
  return reinterpret_cast<const char*>(file);
}

bool hasInk(const GreyImage& image, int x) {
  for (int y = 0; y < image.height; ++y) {
    if (image.at(x, y) >= kInk) return true;
  }
  return false;
}

}  // namespace

TextReader::TextReader() {
  FT_Library library = nullptr;
  FT_Face face = nullptr;
  if (FT_Init_FreeType(&library) != 0) throw std::runtime_error("no FreeType");
  const std::unique_ptr<FT_LibraryRec_, decltype(&FT_Done_FreeType)> closing(library,
                                                                             &FT_Done_FreeType);
  if (FT_New_Face(library, fontFile().c_str(), 0, &face) != 0 ||
      FT_Set_Pixel_Sizes(face, 0, 64) != 0) {
    throw std::runtime_error("the font cannot be used");
  }
  for (const char character : std::string("0123456789:")) {
    if (FT_Load_Char(face, static_cast<FT_ULong>(character), FT_LOAD_RENDER) != 0) continue;
    const FT_Bitmap& bitmap = face->glyph->bitmap;
    GreyImage drawn{static_cast<int>(bitmap.width), static_cast<int>(bitmap.rows), {}};
    for (int y = 0; y < drawn.height; ++y) {
      const unsigned char* row = bitmap.buffer + y * bitmap.pitch;
      drawn.pixels.insert(drawn.pixels.end(), row, row + drawn.width);
    }
    glyphs_.push_back({character, featuresOf(drawn, 0, drawn.width)});
  }
}

TextReader::Features TextReader::featuresOf(const GreyImage& image, int left, int right) {
  int top = image.height;
  int bottom = 0;
  for (int y = 0; y < image.height; ++y) {
    for (int x = left; x < right; ++x) {
      if (image.at(x, y) < kInk) continue;
      top = std::min(top, y);
      bottom = y + 1;
    }
  }
  Features features{};
  // Four samples per cell in each direction.
  constexpr int kSamples = 4;
  const double width = right - left;
  const double height = bottom - top;
  for (int row = 0; row < kRows * kSamples; ++row) {
    for (int column = 0; column < kColumns * kSamples; ++column) {
      const double x = left + (column + 0.5) * width / (kColumns * kSamples);
      const double y = top + (row + 0.5) * height / (kRows * kSamples);
      const int field = row / kSamples * kColumns + column / kSamples;
      if (image.at(static_cast<int>(x), static_cast<int>(y)) < kInk) continue;
      features[static_cast<std::size_t>(field)] += 1.0 / (kSamples * kSamples);
    }
  }
  features.back() = 4 * width / height;
  return features;
}

std::string TextReader::read(const GreyImage& image) const {
  std::string text;
  for (int left = 0; left < image.width; ++left) {
    if (!hasInk(image, left)) continue;
    int right = left;
    while (right < image.width && hasInk(image, right)) ++right;
    const Features seen = featuresOf(image, left, right);
    char best = '?';
    double least = 30;  // a shape further away than this is none of them
    for (const auto& [character, features] : glyphs_) {
      double distance = 0;
      for (std::size_t i = 0; i < seen.size(); ++i) {
        distance += std::pow(seen[i] - features[i], 2);
      }
      if (distance >= least) continue;
      least = distance;
      best = character;
    }
    text += best;
    left = right;
  }
  return text;
}

}  // namespace ExamplePluginTests

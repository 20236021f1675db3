// Reads digits and colons in a frame, like a viewer: compares the shapes that it finds with those
// of the system's bold monospace font, drawn by FreeType. Shares no code with the plug-ins on
// purpose.

#pragma once

#include <array>
#include <string>
#include <vector>

namespace ExamplePluginTests {

// Brightness, 0 to 255, row by row.
struct GreyImage {
  int width = 0;
  int height = 0;
  std::vector<unsigned char> pixels;

  int at(int x, int y) const { return pixels.at(static_cast<std::size_t>(y * width + x)); }
};

class TextReader {
 public:
  // Throws std::runtime_error when there is no font.
  TextReader();

  // One line, bright on dark, without its spaces; '?' for a shape that is no digit and no colon.
  std::string read(const GreyImage& image) const;

 private:
  // The ink in each cell of a grid over the shape, then the shape's proportions.
  using Features = std::array<double, 12 * 16 + 1>;
  struct Glyph {
    char character;
    Features features;
  };

  static Features featuresOf(const GreyImage& image, int left, int right);

  std::vector<Glyph> glyphs_;
};

}  // namespace ExamplePluginTests

// A line of text, drawn as a mask.
//
// Thread: any. The first label of a process searches for fonts, which may take long; later ones
//   take a fraction of a millisecond.
// Failure: without memory the label is empty.

#pragma once

#include <string>
#include <vector>

namespace ExamplePlugins {

struct Label {
  // Pixels; even, because 2 by 2 pixels of a frame share a chroma sample.
  int width = 0;
  int height = 0;
  // The coverage of each pixel, row by row, 0 to 255.
  std::vector<unsigned char> ink;
};

// Draws `text` (UTF-8) in the system's bold monospace font with a margin around it; text beyond
// `mostWidth` is clipped. `fontSize` is in pixels.
Label drawLabel(const std::string& text, int fontSize, int mostWidth);

}  // namespace ExamplePlugins

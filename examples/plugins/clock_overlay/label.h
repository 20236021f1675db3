// A line of text, drawn as a mask.
//
// Thread: any. The first label of a process looks for fonts, which may take long; later ones take a
//   fraction of a millisecond.
// Failure: without memory the label is empty.

#pragma once

#include <string>
#include <vector>

namespace ExamplePlugins {

struct Label {
  // Pixels; even, because two by two pixels of a picture share a colour.
  int width = 0;
  int height = 0;
  // Row by row how much of each pixel is covered, 0 to 255.
  std::vector<unsigned char> ink;
};

// Draws `text` (UTF-8) in the system's bold monospace font with a margin around it; what does not
// fit into `mostWidth` is cut off. `fontSize` is in pixels.
Label drawLabel(const std::string& text, int fontSize, int mostWidth);

}  // namespace ExamplePlugins

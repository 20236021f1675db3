#include "label.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace ExamplePlugins {
namespace {

template <auto destroy>
struct Destroy {
  template <typename Object>
  void operator()(Object* object) const {
    destroy(object);
  }
};

using FontFace = std::unique_ptr<cairo_font_face_t, Destroy<cairo_font_face_destroy>>;
using FontOptions = std::unique_ptr<cairo_font_options_t, Destroy<cairo_font_options_destroy>>;
using Font = std::unique_ptr<cairo_scaled_font_t, Destroy<cairo_scaled_font_destroy>>;
using Surface = std::unique_ptr<cairo_surface_t, Destroy<cairo_surface_destroy>>;
using Context = std::unique_ptr<cairo_t, Destroy<cairo_destroy>>;

Font monospace(int size) {
  const FontFace face(
      cairo_toy_font_face_create("monospace", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD));
  const FontOptions options(cairo_font_options_create());
  cairo_matrix_t scale;
  cairo_matrix_t identity;
  cairo_matrix_init_scale(&scale, size, size);
  cairo_matrix_init_identity(&identity);
  return Font(cairo_scaled_font_create(face.get(), &scale, &identity, options.get()));
}

int evenAtLeast(double length) {
  return 2 * static_cast<int>(std::ceil(length / 2));
}

}  // namespace

Label drawLabel(const std::string& text, int fontSize, int mostWidth) {
  const Font font = monospace(fontSize);
  cairo_font_extents_t line;
  cairo_text_extents_t extents;
  cairo_scaled_font_extents(font.get(), &line);
  cairo_scaled_font_text_extents(font.get(), text.c_str(), &extents);

  const double margin = fontSize / 4.0;
  Label label;
  label.width = evenAtLeast(std::min<double>(extents.x_advance + 2 * margin, mostWidth));
  label.height = evenAtLeast(line.ascent + line.descent + 2 * margin);

  const Surface surface(cairo_image_surface_create(CAIRO_FORMAT_A8, label.width, label.height));
  const Context context(cairo_create(surface.get()));
  cairo_set_scaled_font(context.get(), font.get());
  cairo_move_to(context.get(), margin, margin + line.ascent);
  cairo_show_text(context.get(), text.c_str());
  cairo_surface_flush(surface.get());
  // The context keeps any failure above.
  if (cairo_status(context.get()) != CAIRO_STATUS_SUCCESS) return {};

  const unsigned char* row = cairo_image_surface_get_data(surface.get());
  for (int y = 0; y < label.height; ++y) {
    label.ink.insert(label.ink.end(), row, row + label.width);
    row += cairo_image_surface_get_stride(surface.get());
  }
  return label;
}

}  // namespace ExamplePlugins

// lunaform-ui-images: draws the toolkit's images into a folder (the repository keeps them in
// ui/images, from where the build embeds them in the module): checkbox.png,
// message_popup_icon.png and effect_banner.png. Every run draws the same pixels.
//
// Usage: lunaform-ui-images OUTDIR
#include <cairo.h>

#include <exception>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>

#include "tools/ui_images.h"

namespace {

constexpr const char* kProgram = "lunaform-ui-images";

// Writes to a temporary name first, so that an interrupted run never leaves a partial image
// under the name the build embeds.
void write_png(const std::filesystem::path& folder, const char* name,
               const ui_images::surface_ptr& image) {
  const std::filesystem::path target = folder / name;
  const std::filesystem::path partial = folder / (std::string(".partial-") + name);
  const cairo_status_t status = cairo_surface_write_to_png(image.get(), partial.c_str());
  if (status != CAIRO_STATUS_SUCCESS) {
    std::filesystem::remove(partial);
    throw std::runtime_error("cannot write " + target.string() + ": " +
                             cairo_status_to_string(status));
  }
  std::filesystem::rename(partial, target);
  std::cout << "wrote " << target.string() << " (" << cairo_image_surface_get_width(image.get())
            << " x " << cairo_image_surface_get_height(image.get()) << ")\n";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: " << kProgram << " OUTDIR\n";
    return 2;
  }
  const std::filesystem::path folder = argv[1];
  try {
    if (!std::filesystem::is_directory(folder)) {
      throw std::runtime_error(folder.string() + " is not a folder");
    }
    write_png(folder, "checkbox.png", ui_images::draw_checkbox());
    write_png(folder, "message_popup_icon.png", ui_images::draw_message_popup_icon());
    write_png(folder, "effect_banner.png", ui_images::draw_effect_banner());
  } catch (const std::exception& e) {
    std::cerr << kProgram << ": " << e.what() << "\n";
    return 1;
  }
  return 0;
}

#include "host/drawbot_objects.h"

#include <cairo.h>

#include <string>

#include "host/host_error.h"

namespace lunaform::host {

DrawbotObjects::~DrawbotObjects() {
  end_drawing();
  for (Image& image : images_) {
    cairo_surface_destroy(image.pixels);
  }
}

DRAWBOT_DrawRef DrawbotObjects::begin_drawing(cairo_surface_t* target, const PF_Rect& clip) {
  if (canvas_ != nullptr) {
    throw HostError("a draw event is already drawing");
  }
  cairo_t* canvas = cairo_create(target);
  if (cairo_status(canvas) != CAIRO_STATUS_SUCCESS) {
    const std::string reason = cairo_status_to_string(cairo_status(canvas));
    cairo_destroy(canvas);
    throw HostError("cannot draw the effect's controls: " + reason);
  }
  // A control draws inside its own frame only, whatever size its images have.
  cairo_rectangle(canvas, clip.left, clip.top, clip.right - clip.left, clip.bottom - clip.top);
  cairo_clip(canvas);
  canvas_ = canvas;
  return drawing();
}

void DrawbotObjects::end_drawing() {
  if (canvas_ != nullptr) {
    cairo_surface_flush(cairo_get_target(canvas_));
    cairo_destroy(canvas_);
    canvas_ = nullptr;
  }
}

DRAWBOT_DrawRef DrawbotObjects::drawing() const {
  return reference<DRAWBOT_DrawRef>(kDrawing);
}

DRAWBOT_SupplierRef DrawbotObjects::supplier() const {
  return reference<DRAWBOT_SupplierRef>(kSupplier);
}

DRAWBOT_SurfaceRef DrawbotObjects::surface() const {
  return reference<DRAWBOT_SurfaceRef>(kSurface);
}

bool DrawbotObjects::is_drawing(const void* reference) const {
  return reference != nullptr &&
         (reference == drawing() || reference == supplier() || reference == surface());
}

DRAWBOT_ImageRef DrawbotObjects::add_image(cairo_surface_t* pixels) {
  Image& image = images_.emplace_back(Image{pixels});
  image_by_reference_[&image] = &image;
  return reinterpret_cast<DRAWBOT_ImageRef>(&image);
}

cairo_surface_t* DrawbotObjects::image(const void* reference) const {
  const auto found = image_by_reference_.find(reference);
  return found != image_by_reference_.end() ? found->second->pixels : nullptr;
}

bool DrawbotObjects::release_image(const void* reference) {
  const auto found = image_by_reference_.find(reference);
  if (found == image_by_reference_.end() || found->second->pixels == nullptr) {
    return false;
  }
  cairo_surface_destroy(found->second->pixels);
  found->second->pixels = nullptr;
  ++images_released_;
  return true;
}

DrawbotCounts DrawbotObjects::counts() const {
  const int made = static_cast<int>(images_.size());
  const int drawing_objects = canvas_ != nullptr ? kReferenceCount : 0;
  return {made, images_released_, made - images_released_ + drawing_objects};
}

std::vector<DrawbotImageSize> DrawbotObjects::live_images() const {
  std::vector<DrawbotImageSize> sizes;
  for (const Image& image : images_) {
    if (image.pixels != nullptr) {
      sizes.push_back({cairo_image_surface_get_width(image.pixels),
                       cairo_image_surface_get_height(image.pixels)});
    }
  }
  return sizes;
}

}  // namespace lunaform::host

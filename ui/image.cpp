#include "ui/image.h"

#include <cairo.h>

#include <cmath>
#include <cstring>
#include <memory>

#include "plugin/hx_exception.h"

namespace hxsdk::ui {
namespace {

struct png_bytes {
  const unsigned char* data;
  std::size_t size;
  std::size_t read;
};

cairo_status_t read_png_bytes(void* closure, unsigned char* out, unsigned int length) {
  png_bytes& source = *static_cast<png_bytes*>(closure);
  if (length > source.size - source.read) {
    return CAIRO_STATUS_READ_ERROR;
  }
  std::memcpy(out, source.data + source.read, length);
  source.read += length;
  return CAIRO_STATUS_SUCCESS;
}

// Whatever cairo decoded (with or without alpha) painted onto premultiplied 32-bit pixels;
// pixels without alpha come out opaque.
cairo_surface_t* to_premultiplied_bgra(cairo_surface_t* decoded) {
  cairo_surface_t* converted =
      cairo_image_surface_create(CAIRO_FORMAT_ARGB32, cairo_image_surface_get_width(decoded),
                                 cairo_image_surface_get_height(decoded));
  cairo_t* cr = cairo_create(converted);
  if (cairo_status(cr) != CAIRO_STATUS_SUCCESS) {
    cairo_destroy(cr);
    cairo_surface_destroy(converted);
    throw hx_exception("unable to create the bitmap format converter");
  }
  cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
  cairo_set_source_surface(cr, decoded, 0.0, 0.0);
  cairo_paint(cr);
  const cairo_status_t status = cairo_status(cr);
  cairo_destroy(cr);
  cairo_surface_flush(converted);
  if (status != CAIRO_STATUS_SUCCESS) {
    cairo_surface_destroy(converted);
    throw hx_exception("unable to create a bitmap from the format converter");
  }
  return converted;
}

}  // namespace

image::~image() {
  cairo_surface_destroy(surface_);
}

// A scale that is not a positive number or a frame count below 1 describes no picture that can
// be drawn, so such a load fails like undecodable bytes.
bool image::load(const unsigned char* png, std::size_t size, float scale, int frames) {
  cairo_surface_destroy(surface_);
  surface_ = nullptr;
  width_ = height_ = 0;
  if (png == nullptr || size == 0 || !std::isfinite(scale) || !(scale > 0.0f) || frames < 1) {
    return false;
  }
  png_bytes source{png, size, 0};
  const std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> decoded(
      cairo_image_surface_create_from_png_stream(read_png_bytes, &source), cairo_surface_destroy);
  if (cairo_surface_status(decoded.get()) != CAIRO_STATUS_SUCCESS) {
    return false;
  }
  surface_ = to_premultiplied_bgra(decoded.get());
  width_ = cairo_image_surface_get_width(surface_);
  height_ = cairo_image_surface_get_height(surface_);
  scale_ = scale;
  frames_ = frames;
  return true;
}

sizef image::size_dips() const {
  return {static_cast<float>(width_) / scale_, static_cast<float>(height_) / scale_};
}

image::pixel_lock image::lock_pixels() {
  if (surface_ == nullptr) {
    throw hx_exception("unable to lock the bitmap data");
  }
  cairo_surface_flush(surface_);
  std::uint8_t* data = cairo_image_surface_get_data(surface_);
  if (data == nullptr || cairo_surface_status(surface_) != CAIRO_STATUS_SUCCESS) {
    throw hx_exception("unable to retrieve the bitmap data");
  }
  return {data, cairo_image_surface_get_stride(surface_), width_, height_, 32};
}

void image::update_pixels() {
  if (surface_ == nullptr) {
    throw hx_exception("unable to update the bitmap data");
  }
  cairo_surface_mark_dirty(surface_);
  if (cairo_surface_status(surface_) != CAIRO_STATUS_SUCCESS) {
    throw hx_exception("unable to update the bitmap data");
  }
}

}  // namespace hxsdk::ui

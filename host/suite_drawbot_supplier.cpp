// "DRAWBOT Supplier Suite" version 1: images made from a module's pixels, and their release.
#include <cairo.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "host/suite_support.h"
#include "host/suite_tables.h"

namespace lunaform::host::suites {
namespace {

// The one layout modules hand this host: B, G, R and a fourth byte that is ignored, which is
// cairo's RGB24 in memory on a little-endian machine, so rows are copied as they are.
constexpr DRAWBOT_PixelLayout kReadableLayout = kDRAWBOT_PixelLayout_32BGR;
constexpr int kLayoutPixelBytes = 4;

// The module's pixels as an image surface of the host's; null when cairo cannot make one.
cairo_surface_t* copy_pixels(int width, int height, int row_bytes, const void* data) {
  cairo_surface_t* pixels = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
  if (cairo_surface_status(pixels) != CAIRO_STATUS_SUCCESS) {
    cairo_surface_destroy(pixels);
    return nullptr;
  }
  cairo_surface_flush(pixels);
  std::uint8_t* target = cairo_image_surface_get_data(pixels);
  const int target_stride = cairo_image_surface_get_stride(pixels);
  const auto* source = static_cast<const std::uint8_t*>(data);
  for (int y = 0; y < height; ++y) {
    std::memcpy(target + static_cast<std::ptrdiff_t>(target_stride) * y,
                source + static_cast<std::ptrdiff_t>(row_bytes) * y,
                static_cast<std::size_t>(width) * kLayoutPixelBytes);
  }
  cairo_surface_mark_dirty(pixels);
  return pixels;
}

SPErr new_image_from_buffer(DRAWBOT_SupplierRef supplier, int width, int height, int row_bytes,
                            DRAWBOT_PixelLayout layout, const void* data, DRAWBOT_ImageRef* image) {
  constexpr const char* kName = "NewImageFromBuffer";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    if (!has_out(host, kName, image, "image") || !has_out(host, kName, data, "pixels")) {
      return A_Err_PARAMETER;
    }
    *image = nullptr;
    DrawbotObjects& objects = host.drawbot_objects();
    if (supplier == nullptr || supplier != objects.supplier()) {
      return refuse_call(host, kName, "not the supplier of the current draw event");
    }
    if (layout != kReadableLayout) {
      return refuse_call(host, kName,
                         "pixel layout " + std::to_string(layout) + " is not one this host reads");
    }
    if (width < 1 || height < 1 || width > PF_MAX_WORLD_WIDTH || height > PF_MAX_WORLD_HEIGHT) {
      return refuse_call(
          host, kName, "impossible size " + std::to_string(width) + " x " + std::to_string(height));
    }
    if (row_bytes < width * kLayoutPixelBytes) {
      return refuse_call(host, kName,
                         "rows of " + std::to_string(row_bytes) + " bytes cannot hold " +
                             std::to_string(width) + " pixels");
    }
    cairo_surface_t* pixels = copy_pixels(width, height, row_bytes, data);
    if (pixels == nullptr) {
      return refuse_call(host, kName, "no memory for the image", A_Err_GENERIC);
    }
    *image = objects.add_image(pixels);
    return A_Err_NONE;
  });
}

SPErr release_object(DRAWBOT_ObjectRef object) {
  constexpr const char* kName = "ReleaseObject";
  return with_active_host(kName, [&](EffectHost& host) -> A_Err {
    DrawbotObjects& objects = host.drawbot_objects();
    if (objects.release_image(object)) {
      return A_Err_NONE;
    }
    if (objects.is_drawing(object)) {
      return refuse_call(host, kName, "the draw event's own objects are the host's to end");
    }
    return refuse_call(host, kName, "unknown or already released object");
  });
}

DRAWBOT_SupplierSuite1 make_table() {
  DRAWBOT_SupplierSuite1 t{};
  t.NewImageFromBuffer = new_image_from_buffer;
  t.ReleaseObject = release_object;
  refuse<"NewPen">(t.NewPen);
  refuse<"NewBrush">(t.NewBrush);
  refuse<"SupportsText">(t.SupportsText);
  refuse<"GetDefaultFontSize">(t.GetDefaultFontSize);
  refuse<"NewDefaultFont">(t.NewDefaultFont);
  refuse<"NewPath">(t.NewPath);
  refuse<"SupportsPixelLayoutBGRA">(t.SupportsPixelLayoutBGRA);
  refuse<"PrefersPixelLayoutBGRA">(t.PrefersPixelLayoutBGRA);
  refuse<"SupportsPixelLayoutARGB">(t.SupportsPixelLayoutARGB);
  refuse<"PrefersPixelLayoutARGB">(t.PrefersPixelLayoutARGB);
  refuse<"RetainObject">(t.RetainObject);
  return t;
}

}  // namespace

const DRAWBOT_SupplierSuite1* drawbot_supplier_suite() {
  static const DRAWBOT_SupplierSuite1 table = make_table();
  return &table;
}

}  // namespace lunaform::host::suites

#pragma once

#include <deque>
#include <memory>
#include <unordered_map>
#include <vector>

#include "AE_Effect.h"
#include "DrawbotSuiteTypes.h"

typedef struct _cairo cairo_t;
typedef struct _cairo_surface cairo_surface_t;

namespace lunaform::host {

// How many DRAWBOT objects a module holds and has held.
struct DrawbotCounts {
  int images_made = 0;      // NewImageFromBuffer calls that gave an image
  int images_released = 0;  // ReleaseObject calls that ended one
  int live = 0;             // objects alive now: the module's images, and during a draw event the
                            // event's drawing reference, supplier and surface
  friend bool operator==(const DrawbotCounts&, const DrawbotCounts&) = default;
};

// The size of one live image.
struct DrawbotImageSize {
  int width = 0;
  int height = 0;
  friend bool operator==(const DrawbotImageSize&, const DrawbotImageSize&) = default;
};

// The DRAWBOT objects one host hands a module, over cairo. During a draw event there is one
// drawing reference, with its supplier and its surface, drawing on the event's target image
// clipped to the control; outside draw events none of the three is valid. Images are cairo
// image surfaces the module makes through the supplier and keeps until it releases them.
//
// A reference is the address of a record kept here for the host's life (a released image
// keeps its record, marked dead), so a reference the host never gave out, or one already
// released, is recognised without being dereferenced. One thread at a time (the host's).
class DrawbotObjects {
 public:
  DrawbotObjects() = default;
  // Frees the images a module never released.
  ~DrawbotObjects();
  DrawbotObjects(const DrawbotObjects&) = delete;
  DrawbotObjects& operator=(const DrawbotObjects&) = delete;

  // Starts drawing on `target` (a cairo image surface, borrowed until end_drawing) clipped to
  // `clip`, and returns the drawing reference. Throws HostError when cairo cannot draw on the
  // target or a drawing is already open.
  DRAWBOT_DrawRef begin_drawing(cairo_surface_t* target, const PF_Rect& clip);
  // Ends the open drawing, if any; its three references become invalid.
  void end_drawing();

  // The open drawing's reference, supplier and surface; null when no drawing is open.
  DRAWBOT_DrawRef drawing() const;
  DRAWBOT_SupplierRef supplier() const;
  DRAWBOT_SurfaceRef surface() const;
  // Whether `reference` is the open drawing's reference, supplier or surface.
  bool is_drawing(const void* reference) const;
  // The open drawing's cairo context; null when none is open.
  cairo_t* canvas() const { return canvas_; }

  // Takes `pixels` (a cairo image surface) as a new image and returns its reference.
  DRAWBOT_ImageRef add_image(cairo_surface_t* pixels);
  // The pixels of a live image; null for anything else.
  cairo_surface_t* image(const void* reference) const;
  // Ends a live image; false for anything else.
  bool release_image(const void* reference);

  DrawbotCounts counts() const;
  // The live images' sizes, oldest first.
  std::vector<DrawbotImageSize> live_images() const;

 private:
  struct Image {
    cairo_surface_t* pixels = nullptr;  // null once released
  };
  enum Reference { kDrawing, kSupplier, kSurface, kReferenceCount };
  // The open drawing's reference of kind `which`: the address of one of three bytes kept here.
  template <typename Ref>
  Ref reference(Reference which) const {
    return canvas_ != nullptr ? reinterpret_cast<Ref>(references_.get() + which) : nullptr;
  }

  const std::unique_ptr<char[]> references_ = std::make_unique<char[]>(kReferenceCount);
  cairo_t* canvas_ = nullptr;
  std::deque<Image> images_;
  std::unordered_map<const void*, Image*> image_by_reference_;
  int images_released_ = 0;
};

}  // namespace lunaform::host

#include <cairo.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "AE_EffectSuites.h"
#include "DrawbotSuite.h"
#include "host/effect_host.h"
#include "tests/host_suite_support.h"

namespace {

using host_test::AcquiredSuite;
using host_test::ScriptedEntry;
using lunaform::host::ControlEvent;
using lunaform::host::EffectHost;
using testing::ElementsAre;

// The four drawing suites, acquired as the effect acquires them.
struct DrawingSuites {
  explicit DrawingSuites(const PF_InData& in)
      : custom_ui(in, kPFEffectCustomUISuite, kPFEffectCustomUISuiteVersion1),
        draw(in, kDRAWBOT_DrawSuite, kDRAWBOT_DrawSuite_Version1),
        supplier(in, kDRAWBOT_SupplierSuite, kDRAWBOT_SupplierSuite_Version1),
        surface(in, kDRAWBOT_SurfaceSuite, kDRAWBOT_SurfaceSuite_Version1) {}
  AcquiredSuite<PF_EffectCustomUISuite1> custom_ui;
  AcquiredSuite<DRAWBOT_DrawbotSuite1> draw;
  AcquiredSuite<DRAWBOT_SupplierSuite1> supplier;
  AcquiredSuite<DRAWBOT_SurfaceSuite1> surface;
};

// Whether every function pointer of a suite table is set.
template <typename Suite>
bool every_entry_set(const Suite* suite) {
  static_assert(sizeof(Suite) % sizeof(void (*)()) == 0);
  for (std::size_t offset = 0; offset < sizeof(Suite); offset += sizeof(void (*)())) {
    void (*entry)() = nullptr;
    std::memcpy(&entry, reinterpret_cast<const std::byte*>(suite) + offset, sizeof entry);
    if (entry == nullptr) {
      return false;
    }
  }
  return true;
}

TEST(HostSuiteDrawbot, WrongDrawingCallsAreRefusedWithAProblemAndNoCrash) {
  std::uint32_t pixels[2 * 2] = {};
  ScriptedEntry module(
      [&](PF_Cmd command, PF_InData* in, PF_OutData*, PF_ParamList, void* extra) -> PF_Err {
        if (command != PF_Cmd_EVENT) {
          return PF_Err_NONE;
        }
        const DrawingSuites suites(*in);
        EXPECT_TRUE(every_entry_set(suites.custom_ui.get()));
        EXPECT_TRUE(every_entry_set(suites.draw.get()));
        EXPECT_TRUE(every_entry_set(suites.supplier.get()));
        EXPECT_TRUE(every_entry_set(suites.surface.get()));
        const auto& event = *static_cast<PF_EventExtra*>(extra);
        DRAWBOT_DrawRef drawing = nullptr;
        EXPECT_EQ(suites.custom_ui->PF_GetDrawingReference(event.contextH, &drawing), A_Err_NONE);
        DRAWBOT_SupplierRef supplier = nullptr;
        DRAWBOT_SurfaceRef surface = nullptr;
        if (event.e_type != PF_Event_DRAW) {
          EXPECT_EQ(drawing, nullptr) << "only a draw event has a drawing";
          EXPECT_NE(suites.draw->GetSupplier(drawing, &supplier), kSPNoError);
          return PF_Err_NONE;
        }
        suites.draw->GetSupplier(drawing, &supplier);
        suites.draw->GetSurface(drawing, &surface);
        DRAWBOT_ImageRef image = nullptr;
        EXPECT_NE(suites.supplier->NewImageFromBuffer(
                      supplier, 2, 2, 8, kDRAWBOT_PixelLayout_32BGRA_Premul, pixels, &image),
                  kSPNoError);
        EXPECT_NE(suites.supplier->NewImageFromBuffer(supplier, 2, 2, 7, kDRAWBOT_PixelLayout_32BGR,
                                                      pixels, &image),
                  kSPNoError);
        EXPECT_EQ(image, nullptr);
        EXPECT_EQ(suites.supplier->NewImageFromBuffer(supplier, 2, 2, 8, kDRAWBOT_PixelLayout_32BGR,
                                                      pixels, &image),
                  kSPNoError);
        const auto object = reinterpret_cast<DRAWBOT_ObjectRef>(image);
        EXPECT_EQ(suites.supplier->ReleaseObject(object), kSPNoError);
        EXPECT_NE(suites.supplier->ReleaseObject(object), kSPNoError);
        const DRAWBOT_PointF32 origin{0.0f, 0.0f};
        EXPECT_NE(suites.surface->DrawImage(surface, image, &origin, 1.0f), kSPNoError);
        EXPECT_NE(suites.supplier->ReleaseObject(reinterpret_cast<DRAWBOT_ObjectRef>(surface)),
                  kSPNoError);
        EXPECT_NE(suites.supplier->NewPath(supplier, nullptr), kSPNoError);
        return PF_Err_NONE;
      });
  EffectHost host(&ScriptedEntry::entry);
  const std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> target(
      cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 4, 4), cairo_surface_destroy);
  for (const PF_EventType type : {PF_Event_ADJUST_CURSOR, PF_Event_DRAW}) {
    ControlEvent event;
    event.type = type;
    event.target = target.get();
    event.current_frame = {0, 0, 4, 4};
    ASSERT_EQ(host.send_event(event), PF_Err_NONE);
  }
  EXPECT_THAT(host.problems(),
              ElementsAre("GetSupplier: not the drawing reference of the current draw event",
                          "NewImageFromBuffer: pixel layout 7 is not one this host reads",
                          "NewImageFromBuffer: rows of 7 bytes cannot hold 2 pixels",
                          "ReleaseObject: unknown or already released object",
                          "DrawImage: unknown or already released image",
                          "ReleaseObject: the draw event's own objects are the host's to end",
                          "NewPath is not implemented by this host"));
  EXPECT_EQ(host.drawbot_objects().counts(), (lunaform::host::DrawbotCounts{1, 1, 0}));
  EXPECT_THAT(host.suites().unreleased(), testing::IsEmpty());
}

}  // namespace

#pragma once

#include <array>
#include <cstddef>
#include <type_traits>

#include "AE_Effect.h"
#include "AE_EffectSuites.h"
#include "AE_GeneralPlug.h"
#include "DrawbotSuite.h"
#include "SPBasic.h"

// The name and version under which a host offers each suite the module uses. A suite type
// without a specialisation here is not one the module asks for, and HostSuites refuses it at
// compile time.
template <typename Suite>
struct HostSuiteName;

#define LUNAFORM_HOST_SUITE_NAME(SUITE, NAME, VERSION) \
  template <>                                          \
  struct HostSuiteName<SUITE> {                        \
    static constexpr const char* name = NAME;          \
    static constexpr int version = VERSION;            \
  }

LUNAFORM_HOST_SUITE_NAME(AEGP_UtilitySuite4, kAEGPUtilitySuite, kAEGPUtilitySuiteVersion4);
LUNAFORM_HOST_SUITE_NAME(AEGP_PFInterfaceSuite1, kAEGPPFInterfaceSuite,
                         kAEGPPFInterfaceSuiteVersion1);
LUNAFORM_HOST_SUITE_NAME(AEGP_StreamSuite2, kAEGPStreamSuite, kAEGPStreamSuiteVersion2);
LUNAFORM_HOST_SUITE_NAME(AEGP_DynamicStreamSuite2, kAEGPDynamicStreamSuite,
                         kAEGPDynamicStreamSuiteVersion2);
LUNAFORM_HOST_SUITE_NAME(AEGP_EffectSuite2, kAEGPEffectSuite, kAEGPEffectSuiteVersion2);
LUNAFORM_HOST_SUITE_NAME(PF_EffectCustomUISuite1, kPFEffectCustomUISuite,
                         kPFEffectCustomUISuiteVersion1);
LUNAFORM_HOST_SUITE_NAME(DRAWBOT_DrawbotSuite1, kDRAWBOT_DrawSuite, kDRAWBOT_DrawSuite_Version1);
LUNAFORM_HOST_SUITE_NAME(DRAWBOT_SupplierSuite1, kDRAWBOT_SupplierSuite,
                         kDRAWBOT_SupplierSuite_Version1);
LUNAFORM_HOST_SUITE_NAME(DRAWBOT_SurfaceSuite1, kDRAWBOT_SurfaceSuite,
                         kDRAWBOT_SurfaceSuite_Version1);
LUNAFORM_HOST_SUITE_NAME(AEGP_CameraSuite2, kAEGPCameraSuite, kAEGPCameraSuiteVersion2);
LUNAFORM_HOST_SUITE_NAME(AEGP_LightSuite2, kAEGPLightSuite, kAEGPLightSuiteVersion2);
LUNAFORM_HOST_SUITE_NAME(AEGP_LayerSuite5, kAEGPLayerSuite, kAEGPLayerSuiteVersion5);
LUNAFORM_HOST_SUITE_NAME(AEGP_CompSuite5, kAEGPCompSuite, kAEGPCompSuiteVersion5);
LUNAFORM_HOST_SUITE_NAME(AEGP_ItemSuite6, kAEGPItemSuite, kAEGPItemSuiteVersion6);
LUNAFORM_HOST_SUITE_NAME(PF_ParamUtilsSuite3, kPFParamUtilsSuite, kPFParamUtilsSuiteVersion3);

#undef LUNAFORM_HOST_SUITE_NAME

// A suite as the host's basic suite knows it.
struct HostSuiteKey {
  const char* name;
  int version;
};

// The suites a HostSuites can hold; a suite's place in the list is its slot, and slots are
// released in list order.
template <typename... Suites>
struct HostSuiteList {
  static constexpr std::size_t size = sizeof...(Suites);
  static constexpr std::array<HostSuiteKey, size> keys{
      HostSuiteKey{HostSuiteName<Suites>::name, HostSuiteName<Suites>::version}...};

  template <typename Suite>
  static constexpr std::size_t slot_of() {
    constexpr std::array<bool, size> matches{std::is_same_v<Suite, Suites>...};
    for (std::size_t slot = 0; slot < size; ++slot) {
      if (matches[slot]) {
        return slot;
      }
    }
    return size;
  }
};

using ModuleHostSuites =
    HostSuiteList<AEGP_UtilitySuite4, AEGP_PFInterfaceSuite1, AEGP_StreamSuite2,
                  AEGP_DynamicStreamSuite2, AEGP_EffectSuite2, PF_EffectCustomUISuite1,
                  DRAWBOT_DrawbotSuite1, DRAWBOT_SupplierSuite1, DRAWBOT_SurfaceSuite1,
                  AEGP_CameraSuite2, AEGP_LightSuite2, AEGP_LayerSuite5, AEGP_CompSuite5,
                  AEGP_ItemSuite6, PF_ParamUtilsSuite3>;

// Throws hx_exception naming `function` when the host answered it with an error: what a
// refused call leaves behind (zeros, null handles) would otherwise make a wrong frame quietly.
void require_host(A_Err error, const char* function);

// The host's suites for one command. A handler makes one on its stack from the command's
// in-data and asks it for suites as it needs them: each suite is acquired from the host the
// first time it is asked for in this cache and released when the cache goes out of scope,
// whether the handler returns or throws. Neither the cache nor a suite pointer may outlive
// the command. One thread (the command's) uses a cache.
//
//   HostSuites suites(*context.in_data);
//   const auto& streams = suites.get<AEGP_StreamSuite2>();
//   streams.AEGP_DisposeStream(stream);
class HostSuites {
 public:
  // Keeps the in-data's basic suite; acquires nothing yet.
  explicit HostSuites(const PF_InData& in_data);
  // Releases every suite this cache acquired, in slot order; a refused suite is not released.
  ~HostSuites();
  HostSuites(const HostSuites&) = delete;
  HostSuites& operator=(const HostSuites&) = delete;

  // The suite's function table. Throws hx_exception naming the suite when the host cannot
  // supply it (asking again later in the command asks the host again).
  template <typename Suite>
  const Suite& get() {
    return *static_cast<const Suite*>(require(slot<Suite>()));
  }

  // The suite's function table, or null when the host cannot supply it: for services the
  // module can do without.
  template <typename Suite>
  const Suite* find() {
    return static_cast<const Suite*>(acquire(slot<Suite>()));
  }

 private:
  template <typename Suite>
  static constexpr std::size_t slot() {
    constexpr std::size_t index = ModuleHostSuites::slot_of<Suite>();
    static_assert(index < ModuleHostSuites::size, "not a suite the module uses");
    return index;
  }

  const void* acquire(std::size_t slot);
  const void* require(std::size_t slot);

  const SPBasicSuite* basic_;
  std::array<const void*, ModuleHostSuites::size> slots_{};
};

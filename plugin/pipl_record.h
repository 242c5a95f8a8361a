#pragma once

#include <array>

#include "plugin/effect_flags.h"
#include "plugin/pipl_builder.h"
#include "plugin/product_info.h"

// The effect's PiPL: how a host finds the effect's kind, name, category, entry point,
// version and flags without running any of its code.
namespace pipl {

inline constexpr std::array kLunaformProperties = std::to_array<Property>({
    {.key = "kind", .type = ValueType::four_char_code, .text = "eFKT"},
    {.key = "name", .type = ValueType::pascal_string, .text = product::kName},
    {.key = "catg", .type = ValueType::pascal_string, .text = product::kCategory},
    // The exported entry point that hosts call on 64-bit x86.
    {.key = "8664", .type = ValueType::c_string, .text = "PluginMain"},
    {.key = "eVER", .type = ValueType::u32, .number = effect_flags::kVersion},
    // PiPL format version 2.0.
    {.key = "ePVR", .type = ValueType::u16_pair, .first = 2, .second = 0},
    // The effect API version the module is written against, 13.9.
    {.key = "eSVR", .type = ValueType::u16_pair, .first = 13, .second = 9},
    {.key = "eINF", .type = ValueType::u16, .number = 0},
    {.key = "eGLO", .type = ValueType::u32, .number = effect_flags::kOutFlags},
    {.key = "eGL2", .type = ValueType::u32, .number = effect_flags::kOutFlags2},
    {.key = "eMNA", .type = ValueType::pascal_string, .text = product::kMatchName},
    {.key = "aeFL", .type = ValueType::u32, .number = 0},
});

inline constexpr auto kLunaformRecord =
    build<record_size(kLunaformProperties)>(kLunaformProperties);

}  // namespace pipl

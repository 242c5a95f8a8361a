#pragma once

#include <string_view>

#include "AE_Effect.h"
#include "host/controls_panel.h"

namespace lunaform::host {

// Reads --pointer "X,Y": a point in the effect's header control's own pixels (its top-left
// corner is 0,0), whole numbers from 0. Throws HostError with one line ("bad --pointer '3':
// expected X,Y (two whole numbers)") for anything else. Pure function.
PF_Point parse_pointer(std::string_view text);

// Where `pointer`, in the first control's own pixels, lies on the panel. Throws HostError with
// one line when that is off the panel. Pure function.
PF_Point pointer_on_panel(const PanelLayout& layout, PF_Point pointer);

}  // namespace lunaform::host

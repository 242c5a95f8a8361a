#pragma once

#include <optional>
#include <string>

#include "AE_Effect.h"
#include "host/composition.h"
#include "host/layer_geometry.h"

namespace lunaform::host {

// How the host turns composition values into the parameter values a module checks out.
// Pure functions.

// The effect layer and resolution that point values are measured against.
struct PointFrame {
  LayerSize layer;                      // the effect layer at full resolution
  PF_RationalScale downsample_x{1, 1};  // 1/2 at half resolution
  PF_RationalScale downsample_y{1, 1};
};

// Why `value` cannot set a parameter like `def` ("a colour for a FLOAT_SLIDER parameter",
// "choice 4 of a popup with 3 choices"); nothing when it fits. Numbers fit sliders, angles,
// checkboxes and popups; Vec3 points; Color colours; LayerRef layer parameters.
std::optional<std::string> value_mismatch(const PF_ParamDef& def, const ParamValue& value);

// Writes `value` at `seconds` into the value field of `def`, in the units the module receives:
// float sliders as doubles, sliders, popups and checkboxes as integers (rounded), fixed sliders
// and angles (degrees) in 16.16 fixed point, colours as 8-bit ARGB (each channel round(v ×
// 255), clamped), points from full-resolution layer pixels to downsampled ones (x and z divided
// by the horizontal factor, y by the vertical). Layer parameters and values that do not fit
// (see value_mismatch) leave `def` unchanged.
void apply_value(PF_ParamDef& def, const ParamValue& value, double seconds,
                 const PointFrame& frame);

// A point parameter as declared holds its x and y as percentages of the layer's width and
// height: turns them into downsampled layer pixels (z, having no layer extent, is taken as
// pixels). Other parameter types are left unchanged.
void points_from_percent(PF_ParamDef& def, const PointFrame& frame);

}  // namespace lunaform::host

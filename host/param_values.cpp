#include "host/param_values.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "host/param_list.h"

namespace lunaform::host {
namespace {

// The integer closest to `value`, kept inside the range of T.
template <typename T>
T rounded(double value) {
  const double limited = std::clamp(std::round(value), double{std::numeric_limits<T>::min()},
                                    double{std::numeric_limits<T>::max()});
  return static_cast<T>(limited);
}

PF_Fixed to_fixed(double value) {
  return rounded<PF_Fixed>(value * 65536);
}

double from_fixed(PF_Fixed value) {
  return value / 65536.0;
}

A_u_char to_channel8(double value) {
  return static_cast<A_u_char>(std::clamp(std::round(value * 255), 0.0, 255.0));
}

double downsampled(double pixels, PF_RationalScale scale) {
  return pixels * scale.num / scale.den;
}

bool is_number_param(PF_ParamType type) {
  return type == PF_Param_SLIDER || type == PF_Param_FIX_SLIDER || type == PF_Param_FLOAT_SLIDER ||
         type == PF_Param_ANGLE || type == PF_Param_CHECKBOX || type == PF_Param_POPUP;
}

const char* kind_name(const ParamValue& value) {
  switch (value.index()) {
    case 0:
      return "a number";
    case 1:
      return "a point";
    case 2:
      return "a colour";
    default:
      return "a layer";
  }
}

bool fits(PF_ParamType type, const ParamValue& value) {
  if (std::holds_alternative<Animated<double>>(value)) {
    return is_number_param(type);
  }
  if (std::holds_alternative<Animated<Vec3>>(value)) {
    return type == PF_Param_POINT || type == PF_Param_POINT_3D;
  }
  if (std::holds_alternative<Animated<Color>>(value)) {
    return type == PF_Param_COLOR;
  }
  return type == PF_Param_LAYER;
}

std::optional<std::string> popup_mismatch(const PF_ParamDef& def, const Animated<double>& value) {
  auto outside = [&](double choice) { return choice < 1 || choice > def.u.pd.num_choices; };
  bool any_outside = value.is_keyframed() ? false : outside(value.at(0));
  for (const auto& key : value.keys()) {
    any_outside = any_outside || outside(key.second);
  }
  if (!any_outside) {
    return std::nullopt;
  }
  return "a choice outside 1.." + std::to_string(def.u.pd.num_choices) + " of a popup";
}

void apply_number(PF_ParamDef& def, double number) {
  switch (def.param_type) {
    case PF_Param_FLOAT_SLIDER:
      def.u.fs_d.value = number;
      break;
    case PF_Param_SLIDER:
      def.u.sd.value = rounded<A_long>(number);
      break;
    case PF_Param_FIX_SLIDER:
      def.u.fd.value = to_fixed(number);
      break;
    case PF_Param_ANGLE:
      def.u.ad.value = to_fixed(number);
      break;
    case PF_Param_CHECKBOX:
      def.u.bd.value = number != 0 ? 1 : 0;
      break;
    case PF_Param_POPUP:
      def.u.pd.value = rounded<A_long>(number);
      break;
    default:
      break;
  }
}

void apply_point(PF_ParamDef& def, const Vec3& pixels, const PointFrame& frame) {
  const double x = downsampled(pixels.x, frame.downsample_x);
  const double y = downsampled(pixels.y, frame.downsample_y);
  if (def.param_type == PF_Param_POINT) {
    def.u.td.x_value = to_fixed(x);
    def.u.td.y_value = to_fixed(y);
  } else if (def.param_type == PF_Param_POINT_3D) {
    def.u.point3d_d.x_value = x;
    def.u.point3d_d.y_value = y;
    def.u.point3d_d.z_value = downsampled(pixels.z, frame.downsample_x);
  }
}

void apply_color(PF_ParamDef& def, const Color& color) {
  if (def.param_type == PF_Param_COLOR) {
    def.u.cd.value = PF_Pixel{to_channel8(color.alpha), to_channel8(color.red),
                              to_channel8(color.green), to_channel8(color.blue)};
  }
}

}  // namespace

std::optional<std::string> value_mismatch(const PF_ParamDef& def, const ParamValue& value) {
  if (!fits(def.param_type, value)) {
    return std::string(kind_name(value)) + " for a " + param_type_name(def.param_type) +
           " parameter";
  }
  if (def.param_type == PF_Param_POPUP) {
    return popup_mismatch(def, std::get<Animated<double>>(value));
  }
  return std::nullopt;
}

void apply_value(PF_ParamDef& def, const ParamValue& value, double seconds,
                 const PointFrame& frame) {
  if (!fits(def.param_type, value)) {
    return;
  }
  if (const auto* number = std::get_if<Animated<double>>(&value)) {
    apply_number(def, number->at(seconds));
  } else if (const auto* point = std::get_if<Animated<Vec3>>(&value)) {
    apply_point(def, point->at(seconds), frame);
  } else if (const auto* color = std::get_if<Animated<Color>>(&value)) {
    apply_color(def, color->at(seconds));
  }
}

void points_from_percent(PF_ParamDef& def, const PointFrame& frame) {
  const double width = frame.layer.width;
  const double height = frame.layer.height;
  if (def.param_type == PF_Param_POINT) {
    const Vec3 pixels{from_fixed(def.u.td.x_value) / 100 * width,
                      from_fixed(def.u.td.y_value) / 100 * height, 0};
    apply_point(def, pixels, frame);
  } else if (def.param_type == PF_Param_POINT_3D) {
    const PF_Point3DDef& point = def.u.point3d_d;
    apply_point(def, {point.x_value / 100 * width, point.y_value / 100 * height, point.z_value},
                frame);
  }
}

}  // namespace lunaform::host

#include "plugin/param_readers.h"

#include <cstring>

#include "plugin/param_host_index.h"

namespace {

// Checks the parameter out at the current time, hands the definition to `read`, and checks
// it back in before returning what `read` returned.
template <typename Read>
auto read_param(CommandContext& context, std::int32_t id, Read read) {
  const PF_InData& in_data = *context.in_data;
  PF_ParamDef definition{};
  in_data.inter.checkout_param(in_data.effect_ref, param_host_index(id), in_data.current_time,
                               in_data.time_step, in_data.time_scale, &definition);
  const auto value = read(definition);
  in_data.inter.checkin_param(in_data.effect_ref, &definition);
  return value;
}

}  // namespace

float get_param_float(CommandContext& context, std::int32_t id) {
  return read_param(context, id, [](const PF_ParamDef& definition) {
    return static_cast<float>(definition.u.fs_d.value);
  });
}

std::int32_t get_param_int(CommandContext& context, std::int32_t id) {
  return read_param(context, id, [](const PF_ParamDef& definition) {
    std::int32_t value;
    std::memcpy(&value, &definition.u, sizeof value);
    return value;
  });
}

PF_Pixel get_param_color(CommandContext& context, std::int32_t id) {
  return read_param(context, id,
                    [](const PF_ParamDef& definition) { return definition.u.cd.value; });
}

PF_Fixed get_param_angle(CommandContext& context, std::int32_t id) {
  return read_param(context, id,
                    [](const PF_ParamDef& definition) { return definition.u.ad.value; });
}

std::array<double, 3> get_param_point3d(CommandContext& context, std::int32_t id) {
  return read_param(context, id, [](const PF_ParamDef& definition) {
    const PF_Point3DDef& point = definition.u.point3d_d;
    return std::array<double, 3>{point.x_value, point.y_value, point.z_value};
  });
}

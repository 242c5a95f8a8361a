#include "host/module_report.h"

#include <cstdio>
#include <string>

#include "host/plugin_version.h"

namespace lunaform::host {
namespace {

std::string hex(uint32_t value, int digits = 8) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%0*X", digits, value);
  return text;
}

std::string number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

double fixed_to_double(PF_Fixed value) {
  return value / 65536.0;
}

std::string quoted(const std::string& text) {
  return "\"" + text + "\"";
}

std::string layer_default(A_long dephault) {
  switch (dephault) {
    case PF_LayerDefault_NONE:
      return "default none";
    case PF_LayerDefault_MYSELF:
      return "default this layer";
    default:
      return "default layer " + std::to_string(dephault);
  }
}

std::string color(const PF_Pixel& pixel) {
  return "(a " + std::to_string(pixel.alpha) + ", r " + std::to_string(pixel.red) + ", g " +
         std::to_string(pixel.green) + ", b " + std::to_string(pixel.blue) + ")";
}

std::string describe_value(const HostParam& param) {
  const PF_ParamDefUnion& u = param.received.u;
  switch (param.received.param_type) {
    case PF_Param_LAYER:
      return layer_default(u.ld.dephault);
    case PF_Param_SLIDER:
      return "valid " + std::to_string(u.sd.valid_min) + " to " + std::to_string(u.sd.valid_max) +
             ", slider " + std::to_string(u.sd.slider_min) + " to " +
             std::to_string(u.sd.slider_max) + ", default " + std::to_string(u.sd.dephault);
    case PF_Param_FLOAT_SLIDER:
      return "valid " + number(u.fs_d.valid_min) + " to " + number(u.fs_d.valid_max) + ", slider " +
             number(u.fs_d.slider_min) + " to " + number(u.fs_d.slider_max) + ", default " +
             number(u.fs_d.dephault) + ", precision " + std::to_string(u.fs_d.precision);
    case PF_Param_ANGLE:
      return "default " + number(fixed_to_double(u.ad.dephault)) + " degrees";
    case PF_Param_CHECKBOX:
      return std::string("default ") + (u.bd.dephault ? "on" : "off") + ", label " +
             quoted(param.checkbox_label);
    case PF_Param_COLOR:
      return "default " + color(u.cd.dephault);
    case PF_Param_POINT:
      return "default (" + number(fixed_to_double(u.td.x_dephault)) + ", " +
             number(fixed_to_double(u.td.y_dephault)) + ")";
    case PF_Param_POINT_3D:
      return "default (" + number(u.point3d_d.x_dephault) + ", " + number(u.point3d_d.y_dephault) +
             ", " + number(u.point3d_d.z_dephault) + ")";
    case PF_Param_POPUP:
      return "choices " + quoted(param.popup_choices) + " (" + std::to_string(u.pd.num_choices) +
             "), default " + std::to_string(u.pd.dephault);
    default:
      return "";
  }
}

}  // namespace

void write_pipl_report(std::ostream& out, const Pipl& pipl) {
  out << "Name:          " << pipl.name << "\n"
      << "Category:      " << pipl.category << "\n"
      << "Match name:    " << pipl.match_name << "\n"
      << "Entry point:   " << pipl.entry_point << "\n"
      << "Version:       " << describe_plugin_version(unpack_plugin_version(pipl.version)) << " ("
      << hex(pipl.version) << ")\n"
      << "PiPL version:  " << pipl.pipl_version << "\n"
      << "API version:   " << pipl.spec_version_major << "." << pipl.spec_version_minor << "\n"
      << "Info flags:    " << hex(pipl.info_flags, 4) << "\n"
      << "Out flags:     " << hex(pipl.global_out_flags) << "\n"
      << "Out flags 2:   " << hex(pipl.global_out_flags_2) << "\n"
      << "aeFL:          " << hex(pipl.ae_flags) << "\n";
}

void write_global_setup_report(std::ostream& out, const PF_OutData& out_data) {
  out << "Global setup declared version "
      << describe_plugin_version(unpack_plugin_version(out_data.my_version)) << " ("
      << hex(out_data.my_version) << "), out flags "
      << hex(static_cast<uint32_t>(out_data.out_flags)) << ", out flags 2 "
      << hex(static_cast<uint32_t>(out_data.out_flags2)) << "\n";
}

void write_param_table(std::ostream& out, const ParamList& params) {
  out << "Parameters (" << params.size() << "):\n";
  char line[512];
  std::snprintf(line, sizeof line, "%5s %5s  %-13s %-26s %-10s %-10s %s\n", "index", "id", "type",
                "name", "flags", "ui flags", "definition");
  out << line;
  for (size_t index = 0; index < params.size(); ++index) {
    const HostParam& param = params.all()[index];
    const PF_ParamDef& def = param.received;
    std::string definition = describe_value(param);
    if (def.ui_width != 0 || def.ui_height != 0) {
      definition += (definition.empty() ? "" : ", ") + std::string("ui ") +
                    std::to_string(def.ui_width) + " x " + std::to_string(def.ui_height);
    }
    const std::string name = index == 0 ? "(input layer)" : quoted(param.name);
    std::snprintf(line, sizeof line, "%5zu %5d  %-13s %-26s %-10s %-10s %s\n", index, def.uu.id,
                  param_type_name(def.param_type).c_str(), name.c_str(),
                  hex(static_cast<uint32_t>(def.flags), 4).c_str(),
                  hex(static_cast<uint32_t>(def.ui_flags), 4).c_str(), definition.c_str());
    out << line;
  }
}

}  // namespace lunaform::host

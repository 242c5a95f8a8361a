#include "host/param_list.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "host/host_error.h"

namespace lunaform::host {
namespace {

HostParam input_layer() {
  HostParam param;
  param.received.param_type = PF_Param_LAYER;
  param.received.u.ld.dephault = PF_LayerDefault_MYSELF;
  param.current = param.received;
  return param;
}

bool known_type(PF_ParamType type) {
  return type >= PF_Param_LAYER && type <= PF_Param_POINT_3D && type != PF_Param_RESERVED2 &&
         type != PF_Param_RESERVED3;
}

// The name field is a fixed array that a careless module may fill without a terminator.
std::string bounded_name(const PF_ParamDef& def) {
  return std::string(def.name, strnlen(def.name, sizeof def.name));
}

std::string text_or_empty(const char* text) {
  return text != nullptr ? text : "";
}

}  // namespace

ParamList::ParamList() {
  reset();
}

void ParamList::reset() {
  params_.clear();
  params_.push_back(input_layer());
}

PF_Err ParamList::add(PF_ParamIndex index, const PF_ParamDef* def, std::string& problem) {
  if (def == nullptr) {
    problem = "add_param with a null definition";
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  if (index != -1 && (index < 1 || static_cast<size_t>(index) > params_.size())) {
    problem = "add_param at index " + std::to_string(index) + " (the list holds " +
              std::to_string(params_.size()) + ")";
    return PF_Err_INVALID_INDEX;
  }
  if (!known_type(def->param_type)) {
    problem = "add_param with unknown parameter type " + std::to_string(def->param_type);
    return PF_Err_UNRECOGNIZED_PARAM_TYPE;
  }
  HostParam param;
  param.received = *def;
  param.current = *def;
  param.name = bounded_name(*def);
  if (def->param_type == PF_Param_POPUP) {
    param.popup_choices = text_or_empty(def->u.pd.u.namesptr);
    const auto choices =
        std::count(param.popup_choices.begin(), param.popup_choices.end(), '|') + 1;
    if (choices != def->u.pd.num_choices) {
      problem = "popup '" + param.name + "' declares " + std::to_string(def->u.pd.num_choices) +
                " choices but its string holds " + std::to_string(choices);
    }
  } else if (def->param_type == PF_Param_CHECKBOX) {
    param.checkbox_label = text_or_empty(def->u.bd.u.nameptr);
  }
  const auto position = index == -1 ? params_.end() : params_.begin() + index;
  params_.insert(position, std::move(param));
  return PF_Err_NONE;
}

bool ParamList::contains(PF_ParamIndex index) const {
  return index >= 0 && static_cast<size_t>(index) < params_.size();
}

const HostParam& ParamList::at(PF_ParamIndex index) const {
  if (!contains(index)) {
    throw HostError("no parameter at index " + std::to_string(index) + " (the list holds " +
                    std::to_string(params_.size()) + ")");
  }
  return params_[static_cast<size_t>(index)];
}

HostParam& ParamList::at(PF_ParamIndex index) {
  return const_cast<HostParam&>(std::as_const(*this).at(index));
}

bool param_holds_value(PF_ParamType type) {
  switch (type) {
    case PF_Param_LAYER:
    case PF_Param_SLIDER:
    case PF_Param_FIX_SLIDER:
    case PF_Param_ANGLE:
    case PF_Param_CHECKBOX:
    case PF_Param_COLOR:
    case PF_Param_POINT:
    case PF_Param_POPUP:
    case PF_Param_FLOAT_SLIDER:
    case PF_Param_POINT_3D:
      return true;
    default:
      return false;
  }
}

std::string param_type_name(PF_ParamType type) {
  static constexpr const char* kNames[] = {
      "LAYER",     "SLIDER", "FIX_SLIDER", "ANGLE",        "CHECKBOX",       "COLOR", "POINT",
      "POPUP",     "CUSTOM", "NO_DATA",    "FLOAT_SLIDER", "ARBITRARY_DATA", "PATH",  "GROUP_START",
      "GROUP_END", "BUTTON", "RESERVED2",  "RESERVED3",    "POINT_3D"};
  if (type < 0 || static_cast<size_t>(type) >= std::size(kNames)) {
    return "type " + std::to_string(type);
  }
  return kNames[type];
}

}  // namespace lunaform::host

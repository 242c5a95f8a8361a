#pragma once

#include <string>
#include <vector>

#include "AE_Effect.h"

namespace lunaform::host {

// One effect parameter as the host holds it.
struct HostParam {
  PF_ParamDef received{};      // the definition exactly as add_param received it
  PF_ParamDef current{};       // what checkout_param hands out (received, unless a test set it)
  std::string name;            // received.name as text
  std::string popup_choices;   // popups: a copy of the '|'-separated choice string
  std::string checkbox_label;  // checkboxes: a copy of the label text
};

// The host's parameter list of one effect instance, in host index order. Index 0 is the host's
// own input layer, present from reset() on; the module's parameters follow. Strings a definition
// points to are copied when it is added, so the list never reads module memory later.
// One thread at a time.
class ParamList {
 public:
  ParamList();

  // Back to only the input layer.
  void reset();
  // add_param: `index` -1 appends, 1..size() inserts before that index. Returns PF_Err_NONE,
  // PF_Err_INVALID_INDEX for another index, PF_Err_UNRECOGNIZED_PARAM_TYPE for an unknown
  // type, PF_Err_BAD_CALLBACK_PARAM for a null definition. `problem` receives a description of
  // a refused definition, or of one accepted with an inconsistency (a popup whose choice count
  // disagrees with its string); it is left alone otherwise.
  PF_Err add(PF_ParamIndex index, const PF_ParamDef* def, std::string& problem);

  size_t size() const { return params_.size(); }
  bool contains(PF_ParamIndex index) const;
  // Throws HostError for an index outside 0..size()-1.
  const HostParam& at(PF_ParamIndex index) const;
  HostParam& at(PF_ParamIndex index);
  const std::vector<HostParam>& all() const { return params_; }

 private:
  std::vector<HostParam> params_;
};

// Whether a parameter of this type holds a value that can be set and checked out (groups and
// no-data controls do not). Pure function.
bool param_holds_value(PF_ParamType type);

// The name of a parameter type as the effect API spells it without its prefix ("FLOAT_SLIDER");
// "type N" for an unknown value. Pure function.
std::string param_type_name(PF_ParamType type);

}  // namespace lunaform::host

#include "host/scene_effect_params.h"

#include <algorithm>
#include <cctype>
#include <string_view>
#include <vector>

#include "AE_Effect.h"

namespace lunaform::host {
namespace {

bool same_ignoring_case(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
    return std::tolower(static_cast<unsigned char>(x)) ==
           std::tolower(static_cast<unsigned char>(y));
  });
}

// The parameter a scene value sets. Index 0 is the host's own input layer, never the module's.
const HostParam& find_param(const SceneNode& node, const std::string& name,
                            const ParamList& registered) {
  const HostParam* without_value = nullptr;
  const HostParam* other_case = nullptr;
  for (std::size_t index = 1; index < registered.size(); ++index) {
    const HostParam& param = registered.all()[index];
    const bool settable = param_holds_value(param.received.param_type);
    if (param.name == name) {
      if (settable) {
        return param;
      }
      without_value = &param;
    } else if (settable && other_case == nullptr && same_ignoring_case(param.name, name)) {
      other_case = &param;
    }
  }
  if (without_value != nullptr) {
    node.fail("parameter \"" + name + "\" is a " +
              param_type_name(without_value->received.param_type) +
              " and holds no value a scene can set");
  }
  node.fail("unknown parameter \"" + name + "\": the effect has no parameter of that name" +
            (other_case != nullptr ? " (did you mean \"" + other_case->name + "\"?)" : ""));
}

std::vector<std::string> split_choices(const std::string& choices) {
  std::vector<std::string> result;
  std::size_t start = 0;
  for (;;) {
    const std::size_t bar = choices.find('|', start);
    result.push_back(choices.substr(start, bar - start));
    if (bar == std::string::npos) {
      return result;
    }
    start = bar + 1;
  }
}

std::string listed(const std::vector<std::string>& choices) {
  std::string text;
  for (const std::string& choice : choices) {
    text += (text.empty() ? "" : ", ") + choice;
  }
  return text;
}

// Popups, checkboxes and layer choices change in steps: a key between two choices cannot be
// interpolated, so the model takes them as constants only.
void refuse_keyframes(const SceneNode& node, const char* kind) {
  if (node.is_keyframe_list()) {
    node.fail(std::string(kind) + " cannot be keyframed: its keys would have to hold, not blend");
  }
}

double read_choice(const SceneNode& node, const HostParam& param) {
  refuse_keyframes(node, "a popup");
  const std::vector<std::string> choices = split_choices(param.popup_choices);
  const std::string count = std::to_string(choices.size());
  if (node.value().is_string()) {
    const std::string text = node.text();
    const auto it = std::find(choices.begin(), choices.end(), text);
    if (it == choices.end()) {
      node.fail("\"" + text + "\" is not a choice of \"" + param.name + "\" (" + listed(choices) +
                ")");
    }
    return static_cast<double>(it - choices.begin() + 1);
  }
  if (!node.value().is_number()) {
    node.fail("expected a choice of \"" + param.name + "\" (" + listed(choices) +
              ") or its number from 1 to " + count);
  }
  return static_cast<double>(node.whole_number(1, static_cast<std::int64_t>(choices.size())));
}

LayerRef read_layer_choice(const SceneNode& node, const Composition& comp) {
  refuse_keyframes(node, "a layer choice");
  if (node.value().is_null()) {
    return {};
  }
  if (!node.value().is_string()) {
    node.fail("expected the name of a footage or solid layer, or null for none");
  }
  const std::string name = node.text();
  const Layer* layer = find_layer(comp, name);
  if (layer == nullptr) {
    node.fail("no layer is named \"" + name + "\"");
  }
  if (!std::holds_alternative<FootageLayer>(layer->content) &&
      !std::holds_alternative<SolidLayer>(layer->content)) {
    node.fail("layer \"" + name + "\" has no pixels to use; name a footage or solid layer");
  }
  return {name};
}

// A float slider's range is single precision: compare in it, so that a limit such as 0.01,
// which single precision cannot hold exactly, still accepts the value written as 0.01.
Animated<double> read_float_slider(const SceneNode& node, const PF_FloatSliderDef& slider) {
  return node.animated<double>([&slider](const SceneNode& n) {
    const double value = n.number();
    const auto narrowed = static_cast<float>(value);
    if (narrowed < slider.valid_min || narrowed > slider.valid_max) {
      n.fail_outside(slider.valid_min, slider.valid_max);
    }
    return value;
  });
}

ParamValue read_value(const SceneNode& node, const HostParam& param, const Composition& comp) {
  const PF_ParamDefUnion& u = param.received.u;
  switch (param.received.param_type) {
    case PF_Param_LAYER:
      return read_layer_choice(node, comp);
    case PF_Param_SLIDER:
      return node.animated<double>([&u](const SceneNode& n) {
        return static_cast<double>(n.whole_number(u.sd.valid_min, u.sd.valid_max));
      });
    case PF_Param_FIX_SLIDER:
      return node.animated<double>([&u](const SceneNode& n) {
        return n.number_in(u.fd.valid_min / 65536.0, u.fd.valid_max / 65536.0);
      });
    case PF_Param_FLOAT_SLIDER:
      return read_float_slider(node, u.fs_d);
    case PF_Param_ANGLE:
      return node.animated<double>([](const SceneNode& n) { return n.number(); });
    case PF_Param_CHECKBOX:
      refuse_keyframes(node, "a checkbox");
      return Animated<double>(node.boolean() ? 1.0 : 0.0);
    case PF_Param_POPUP:
      return Animated<double>(read_choice(node, param));
    case PF_Param_COLOR:
      return node.animated<Color>([](const SceneNode& n) { return n.color(); });
    case PF_Param_POINT:
      return node.animated<Vec3>([](const SceneNode& n) { return n.vec2(); });
    default:  // PF_Param_POINT_3D: find_param returns only parameters that hold a value
      return node.animated<Vec3>([](const SceneNode& n) { return n.vec3(); });
  }
}

}  // namespace

std::map<std::string, ParamValue> read_effect_params(const SceneNode& params,
                                                     const ParamList& registered,
                                                     const Composition& comp) {
  std::map<std::string, ParamValue> values;
  for (const auto& [name, node] : params.members()) {
    values.emplace(name, read_value(node, find_param(node, name, registered), comp));
  }
  return values;
}

}  // namespace lunaform::host

#pragma once

#include <map>
#include <string>

#include "host/composition.h"
#include "host/param_list.h"
#include "host/scene_node.h"

namespace lunaform::host {

// Converts the "params" object of a scene file's effect layer into the model's values, by the
// parameters the module registered (`registered`, the host's list after parameter setup):
// each name must be that of a parameter that holds a value (groups and controls without data
// hold none; a group and a value parameter may share a name, and the name then means the
// value parameter). By parameter type:
// - float slider, slider, fixed slider: a number inside the parameter's valid range (a slider
//   a whole number), or keyframes of such numbers;
// - angle: degrees, or keyframes;
// - popup: the choice's text ("Hemisphere") or its number counted from 1; no keyframes;
// - checkbox: true or false; no keyframes;
// - colour: [red, green, blue] from 0 to 1, or keyframes;
// - point: [x, y], 3D point: [x, y, z], in layer pixels, or keyframes;
// - layer: the name of a footage or solid layer of `comp`, or null for none; no keyframes.
// Returns the values by parameter name. Throws HostError "FILE: POINTER: PROBLEM" for the first
// value that does not fit.
std::map<std::string, ParamValue> read_effect_params(const SceneNode& params,
                                                     const ParamList& registered,
                                                     const Composition& comp);

}  // namespace lunaform::host

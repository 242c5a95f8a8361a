#pragma once

#include <cstdint>
#include <variant>

#include "plugin/param_ids.h"

// One record per kind of effect parameter, holding exactly what its registration helper
// needs. The effect's parameter set is a table of these, so the registration order and
// every range and default can be read (and reviewed) in one place.

struct LayerParam {
  ParamId id;
  const char* name;
};

// Slider limits follow from the valid range: the slider maximum is valid_max × fraction,
// the minimum is valid_min when that is not negative, else valid_min × fraction.
struct FloatSliderParam {
  ParamId id;
  const char* name;
  float valid_min;
  float valid_max;
  float default_value;
  std::int16_t precision;
  float slider_fraction;
};

// choices is the "|"-separated list; default_choice is 1-based.
struct PopupParam {
  ParamId id;
  const char* name;
  const char* choices;
  std::int32_t default_choice;
  bool exclude_from_have_inputs_changed;
};

struct AngleParam {
  ParamId id;
  const char* name;
};

// label_is_name: the box carries the parameter's name as its own label text.
struct CheckboxParam {
  ParamId id;
  const char* name;
  bool default_checked;
  bool label_is_name;
};

// Components from 0 to 1.
struct ColorParam {
  ParamId id;
  const char* name;
  float red;
  float green;
  float blue;
};

struct Point3dParam {
  ParamId id;
  const char* name;
  double x;
  double y;
  double z;
};

struct GroupStartParam {
  ParamId id;
  const char* name;
  bool collapsed;
};

struct GroupEndParam {
  ParamId id;
};

using ParamSpec = std::variant<LayerParam, FloatSliderParam, PopupParam, AngleParam, CheckboxParam,
                               ColorParam, Point3dParam, GroupStartParam, GroupEndParam>;

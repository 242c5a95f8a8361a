#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "host/host_error.h"
#include "host/param_list.h"

namespace {

using lunaform::host::HostError;
using lunaform::host::param_type_name;
using lunaform::host::ParamList;

PF_ParamDef definition(PF_ParamType type, A_long id, const char* name) {
  PF_ParamDef def{};
  def.param_type = type;
  def.uu.id = id;
  std::strncpy(def.name, name, sizeof def.name - 1);
  return def;
}

std::vector<A_long> ids(const ParamList& list) {
  std::vector<A_long> result;
  for (const auto& param : list.all()) {
    result.push_back(param.received.uu.id);
  }
  return result;
}

TEST(ParamList, StartsWithTheInputLayerOnly) {
  const ParamList list;
  ASSERT_EQ(list.size(), 1u);
  EXPECT_EQ(list.at(0).received.param_type, PF_Param_LAYER);
  EXPECT_EQ(list.at(0).received.u.ld.dephault, PF_LayerDefault_MYSELF);
}

TEST(ParamList, AppendsAtMinusOneAndInsertsBeforeAnIndex) {
  ParamList list;
  std::string problem;
  auto a = definition(PF_Param_FLOAT_SLIDER, 10, "A");
  auto b = definition(PF_Param_CHECKBOX, 20, "B");
  auto c = definition(PF_Param_ANGLE, 30, "C");
  auto d = definition(PF_Param_GROUP_END, 40, "");
  ASSERT_EQ(list.add(-1, &a, problem), PF_Err_NONE);
  ASSERT_EQ(list.add(-1, &b, problem), PF_Err_NONE);
  ASSERT_EQ(list.add(1, &c, problem), PF_Err_NONE);
  ASSERT_EQ(list.add(4, &d, problem), PF_Err_NONE);  // index == size appends too
  EXPECT_EQ(ids(list), (std::vector<A_long>{0, 30, 10, 20, 40}));
  EXPECT_EQ(list.at(2).name, "A");
  EXPECT_TRUE(problem.empty());
}

TEST(ParamList, KeepsItsOwnCopiesOfTheStringsADefinitionPointsTo) {
  ParamList list;
  std::string problem;
  std::string choices = "One|Two|Three";
  std::string label = "Label";
  auto popup = definition(PF_Param_POPUP, 1, "Popup");
  popup.u.pd.num_choices = 3;
  popup.u.pd.u.namesptr = choices.c_str();
  auto checkbox = definition(PF_Param_CHECKBOX, 2, "Box");
  checkbox.u.bd.u.nameptr = label.c_str();
  // A name that fills all 32 characters with no terminator.
  auto long_name = definition(PF_Param_NO_DATA, 3, "");
  std::memset(long_name.name, 'x', sizeof long_name.name);
  list.add(-1, &popup, problem);
  list.add(-1, &checkbox, problem);
  list.add(-1, &long_name, problem);
  choices.assign(choices.size(), '?');
  label.assign(label.size(), '?');
  EXPECT_EQ(list.at(1).popup_choices, "One|Two|Three");
  EXPECT_EQ(list.at(2).checkbox_label, "Label");
  EXPECT_EQ(list.at(3).name, std::string(32, 'x'));
  EXPECT_TRUE(problem.empty());
}

TEST(ParamList, RefusesBadDefinitionsWithACodeAndAReason) {
  struct Case {
    PF_ParamIndex index;
    PF_ParamType type;
    bool null_definition;
    PF_Err expected;
    const char* problem;
  };
  const Case cases[] = {
      {-1, PF_Param_FLOAT_SLIDER, true, PF_Err_BAD_CALLBACK_PARAM,
       "add_param with a null definition"},
      {0, PF_Param_FLOAT_SLIDER, false, PF_Err_INVALID_INDEX,
       "add_param at index 0 (the list holds 1)"},
      {2, PF_Param_FLOAT_SLIDER, false, PF_Err_INVALID_INDEX,
       "add_param at index 2 (the list holds 1)"},
      {-2, PF_Param_FLOAT_SLIDER, false, PF_Err_INVALID_INDEX, "add_param at index -2"},
      {-1, 16, false, PF_Err_UNRECOGNIZED_PARAM_TYPE, "add_param with unknown parameter type 16"},
      {-1, 99, false, PF_Err_UNRECOGNIZED_PARAM_TYPE, "add_param with unknown parameter type 99"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.problem);
    ParamList list;
    std::string problem;
    auto def = definition(c.type, 5, "P");
    EXPECT_EQ(list.add(c.index, c.null_definition ? nullptr : &def, problem), c.expected);
    EXPECT_THAT(problem, testing::HasSubstr(c.problem));
    EXPECT_EQ(list.size(), 1u);
  }
}

TEST(ParamList, APopupWhoseCountDisagreesWithItsChoicesIsKeptAndReported) {
  ParamList list;
  std::string problem;
  auto popup = definition(PF_Param_POPUP, 7, "Mode");
  popup.u.pd.num_choices = 4;
  popup.u.pd.u.namesptr = "A|B|C";
  EXPECT_EQ(list.add(-1, &popup, problem), PF_Err_NONE);
  EXPECT_EQ(problem, "popup 'Mode' declares 4 choices but its string holds 3");
  EXPECT_EQ(list.size(), 2u);
}

TEST(ParamList, AtRefusesIndicesOutsideTheList) {
  const ParamList list;
  EXPECT_THROW(list.at(1), HostError);
  EXPECT_THROW(list.at(-1), HostError);
  EXPECT_FALSE(list.contains(1));
}

TEST(ParamList, TypeNamesFollowTheApiSpelling) {
  EXPECT_EQ(param_type_name(PF_Param_LAYER), "LAYER");
  EXPECT_EQ(param_type_name(PF_Param_FLOAT_SLIDER), "FLOAT_SLIDER");
  EXPECT_EQ(param_type_name(PF_Param_GROUP_END), "GROUP_END");
  EXPECT_EQ(param_type_name(PF_Param_POINT_3D), "POINT_3D");
  EXPECT_EQ(param_type_name(42), "type 42");
  EXPECT_EQ(param_type_name(-1), "type -1");
}

}  // namespace

#include "host/scene_node.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <numeric>

#include "host/host_error.h"

namespace lunaform::host {
namespace {

// How a value looks in a message: short values as written, containers by kind.
std::string describe(const nlohmann::json& value) {
  switch (value.type()) {
    case nlohmann::json::value_t::object:
      return "an object";
    case nlohmann::json::value_t::array:
      return "a list";
    case nlohmann::json::value_t::string:
      return "the text " + value.dump();
    default:
      return value.dump();
  }
}

std::string join(const std::vector<std::string_view>& words) {
  std::string text;
  for (const std::string_view word : words) {
    text += (text.empty() ? "" : ", ") + std::string(word);
  }
  return text;
}

// Limits and times as a person writes them: 0.01, not 0.009999999776482582 (a single-precision
// limit widened to double).
std::string format_number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.7g", value);
  return text;
}

}  // namespace

SceneNode::SceneNode(const std::filesystem::path& file, const nlohmann::json& value,
                     nlohmann::json::json_pointer where)
    : file_(&file), value_(&value), where_(std::move(where)) {}

std::string SceneNode::place() const {
  const std::string pointer = where_.to_string();
  return pointer.empty() ? "top level" : pointer;
}

void SceneNode::fail(std::string_view problem) const {
  throw HostError(file_->string() + ": " + place() + ": " + std::string(problem));
}

void SceneNode::fail_type(std::string_view expected) const {
  fail("expected " + std::string(expected) + ", got " + describe(value()));
}

void SceneNode::expect_keys(const std::vector<std::string_view>& allowed) const {
  if (!value().is_object()) {
    fail_type("an object");
  }
  for (const auto& [key, member] : value().items()) {
    if (std::find(allowed.begin(), allowed.end(), key) == allowed.end()) {
      SceneNode(*file_, member, where_ / key)
          .fail("unknown key \"" + key + "\" (expected one of: " + join(allowed) + ")");
    }
  }
}

std::optional<SceneNode> SceneNode::find(std::string_view key) const {
  if (!value().is_object()) {
    fail_type("an object");
  }
  const auto it = value().find(key);
  if (it == value().end()) {
    return std::nullopt;
  }
  return SceneNode(*file_, *it, where_ / std::string(key));
}

SceneNode SceneNode::child(std::string_view key) const {
  std::optional<SceneNode> member = find(key);
  if (!member) {
    fail("missing key \"" + std::string(key) + "\"");
  }
  return *member;
}

SceneNode SceneNode::at(std::size_t index) const {
  return SceneNode(*file_, value()[index], where_ / index);
}

std::vector<SceneNode> SceneNode::elements() const {
  if (!value().is_array()) {
    fail_type("a list");
  }
  std::vector<SceneNode> result;
  for (std::size_t i = 0; i < value().size(); ++i) {
    result.push_back(at(i));
  }
  return result;
}

std::vector<std::pair<std::string, SceneNode>> SceneNode::members() const {
  if (!value().is_object()) {
    fail_type("an object");
  }
  std::vector<std::pair<std::string, SceneNode>> result;
  for (const auto& [key, member] : value().items()) {
    result.emplace_back(key, SceneNode(*file_, member, where_ / key));
  }
  return result;
}

double SceneNode::number() const {
  if (!value().is_number()) {
    fail_type("a number");
  }
  return value().get<double>();
}

void SceneNode::fail_outside(double min, double max) const {
  fail(value().dump() + " is outside " + format_number(min) + " to " + format_number(max));
}

double SceneNode::number_in(double min, double max) const {
  const double v = number();
  if (v < min || v > max) {
    fail_outside(min, max);
  }
  return v;
}

double SceneNode::positive_number() const {
  const double v = number();
  if (!(v > 0)) {
    fail("expected a number above 0, got " + format_number(v));
  }
  return v;
}

std::int64_t SceneNode::whole_number(std::int64_t min, std::int64_t max) const {
  if (!value().is_number() || value().get<double>() != std::floor(value().get<double>())) {
    fail_type("a whole number");
  }
  const double v = value().get<double>();
  if (v < static_cast<double>(min) || v > static_cast<double>(max)) {
    fail_outside(static_cast<double>(min), static_cast<double>(max));
  }
  return static_cast<std::int64_t>(v);
}

bool SceneNode::boolean() const {
  if (!value().is_boolean()) {
    fail_type("true or false");
  }
  return value().get<bool>();
}

std::string SceneNode::text() const {
  if (!value().is_string()) {
    fail_type("a text in quotes");
  }
  return value().get<std::string>();
}

Vec3 SceneNode::vec3() const {
  if (!value().is_array() || value().size() != 3) {
    fail_type("[x, y, z]");
  }
  return {at(0).number(), at(1).number(), at(2).number()};
}

Vec3 SceneNode::vec2() const {
  if (!value().is_array() || value().size() != 2) {
    fail_type("[x, y]");
  }
  return {at(0).number(), at(1).number(), 0};
}

Color SceneNode::color() const {
  if (!value().is_array() || value().size() != 3) {
    fail_type("[red, green, blue] with each from 0 to 1");
  }
  Color c;
  double* const channels[] = {&c.red, &c.green, &c.blue};
  for (std::size_t i = 0; i < 3; ++i) {
    const SceneNode channel = at(i);
    const double v = channel.number();
    if (v < 0 || v > 1) {
      channel.fail("colour channels run from 0 to 1, got " + format_number(v) +
                   (v > 1 ? " (divide 0-255 values by 255)" : ""));
    }
    *channels[i] = v;
  }
  return c;
}

Ratio SceneNode::ratio() const {
  constexpr std::int64_t kLargest = std::numeric_limits<std::int32_t>::max();
  if (value().is_array()) {
    if (value().size() != 2) {
      fail_type("a number or [numerator, denominator]");
    }
    return {static_cast<std::int32_t>(at(0).whole_number(1, kLargest)),
            static_cast<std::uint32_t>(at(1).whole_number(1, kLargest))};
  }
  // A decimal names a fraction of powers of ten; reduce it so 0.9 is 9/10, not 900000/1000000.
  constexpr std::int64_t kScale = 1000000;
  const double v = positive_number();
  if (v > static_cast<double>(kLargest)) {
    fail(format_number(v) + " is too large");
  }
  const std::int64_t scaled = std::llround(v * kScale);
  if (scaled == 0) {
    fail(format_number(v) + " is below the smallest ratio of 0.000001");
  }
  const std::int64_t divisor = std::gcd(scaled, kScale);
  const std::int64_t num = scaled / divisor;
  if (num > kLargest) {
    fail(format_number(v) +
         " has more digits than a ratio can hold; write [numerator, denominator]");
  }
  return {static_cast<std::int32_t>(num), static_cast<std::uint32_t>(kScale / divisor)};
}

bool SceneNode::is_keyframe_list() const {
  return value().is_array() && !value().empty() && value().front().is_object();
}

std::vector<std::pair<double, SceneNode>> SceneNode::keyframes() const {
  std::vector<std::pair<double, SceneNode>> keys;
  for (const SceneNode& key : elements()) {
    key.expect_keys({"time", "value"});
    const SceneNode time = key.child("time");
    const double seconds = time.number();
    if (!keys.empty() && seconds <= keys.back().first) {
      time.fail("keyframe times must increase: " + format_number(seconds) + " s comes after " +
                format_number(keys.back().first) + " s");
    }
    keys.emplace_back(seconds, key.child("value"));
  }
  return keys;
}

}  // namespace lunaform::host

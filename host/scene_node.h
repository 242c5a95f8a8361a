#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/composition.h"

namespace lunaform::host {

// One value of a parsed scene file together with where it sits (its JSON pointer), so that
// every refusal names the file, the place and the problem on one line:
//   "FILE: /layers/2/params/Radius: PROBLEM"
// The readers check the JSON type and the range and throw HostError in that form; nothing is
// ever converted silently (a string is not a number, 1.5 is not a whole number). Numbers are
// always finite: JSON has no NaN or infinity. A SceneNode refers to the document and the file
// path it was made from, which must outlive it. Any thread, one document per thread.
class SceneNode {
 public:
  SceneNode(const std::filesystem::path& file, const nlohmann::json& value,
            nlohmann::json::json_pointer where);

  const nlohmann::json& value() const { return *value_; }
  const std::filesystem::path& file() const { return *file_; }
  // The pointer as RFC 6901 writes it ("/layers/2/params/Shadow~1Light"), "top level" for the
  // document itself.
  std::string place() const;
  // Throws HostError("FILE: PLACE: PROBLEM").
  [[noreturn]] void fail(std::string_view problem) const;
  // Fails with "VALUE is outside MIN to MAX".
  [[noreturn]] void fail_outside(double min, double max) const;

  // --- Objects and arrays ---
  // Refuses anything but an object whose keys are all in `allowed`.
  void expect_keys(const std::vector<std::string_view>& allowed) const;
  // The member `key` of an object, or nothing when absent.
  std::optional<SceneNode> find(std::string_view key) const;
  // The member `key`; refuses an object without it.
  SceneNode child(std::string_view key) const;
  // The elements of an array; refuses anything else.
  std::vector<SceneNode> elements() const;
  // The members of an object in the file's order; refuses anything else.
  std::vector<std::pair<std::string, SceneNode>> members() const;

  // --- Values ---
  double number() const;
  // A number from `min` to `max` inclusive.
  double number_in(double min, double max) const;
  // A number above zero.
  double positive_number() const;
  // A whole number from `min` to `max` inclusive.
  std::int64_t whole_number(std::int64_t min, std::int64_t max) const;
  bool boolean() const;
  std::string text() const;
  // [x, y, z].
  Vec3 vec3() const;
  // [x, y] as a Vec3 with z = 0.
  Vec3 vec2() const;
  // [red, green, blue], each 0 to 1; alpha 1.
  Color color() const;
  // A positive number (a decimal is taken as the exact fraction it writes, to 6 decimals:
  // 0.9 = 9/10, 29.97 = 2997/100) or [numerator, denominator] of whole numbers.
  Ratio ratio() const;

  // Whether the value is a keyframe list: an array whose first element is an object.
  bool is_keyframe_list() const;
  // A value that may be keyframed: either one value read by `read`, or a list of keyframes
  // [{"time": seconds, "value": ...}, ...] with strictly increasing times, each value read by
  // `read`.
  template <typename T>
  Animated<T> animated(const std::function<T(const SceneNode&)>& read) const {
    if (!is_keyframe_list()) {
      return Animated<T>(read(*this));
    }
    Animated<T> result;
    for (const auto& [seconds, key] : keyframes()) {
      result.set_key(seconds, read(key));
    }
    return result;
  }

 private:
  // The keyframes of a keyframe list: (time, value node) in file order, times checked.
  std::vector<std::pair<double, SceneNode>> keyframes() const;
  SceneNode at(std::size_t index) const;
  [[noreturn]] void fail_type(std::string_view expected) const;

  const std::filesystem::path* file_;
  const nlohmann::json* value_;
  nlohmann::json::json_pointer where_;
};

}  // namespace lunaform::host

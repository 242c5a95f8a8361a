#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>

#include "host/composition.h"
#include "host/footage.h"

// Footage files as the host reads them, and rewritten as a user would while the host runs.
namespace host_test {

// A footage layer named `name` showing `file`, read by the host's footage reader.
inline lunaform::host::Layer footage_layer(const std::string& name,
                                           const std::filesystem::path& file) {
  lunaform::host::Footage footage = lunaform::host::read_footage(file);
  lunaform::host::Layer layer;
  layer.name = name;
  layer.content = lunaform::host::FootageLayer{
      file, std::make_shared<const lunaform::host::Image>(std::move(footage.image))};
  return layer;
}

// Gives `file` a modification time one second after any this function gave before: the file
// system's coarse clock may give two quick writes (of the same size) the same time. One thread.
inline void mark_rewritten(const std::filesystem::path& file) {
  static std::filesystem::file_time_type last = std::filesystem::file_time_type::clock::now();
  last += std::chrono::seconds(1);
  std::filesystem::last_write_time(file, last);
}

}  // namespace host_test

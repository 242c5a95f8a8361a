#include "host/footage_refresh.h"

#include <memory>
#include <system_error>
#include <utility>
#include <variant>

#include "host/footage.h"
#include "host/host_error.h"

namespace lunaform::host {
namespace {

// The footage layers of `comp` that show an image, by file, in layer order (const or not, as
// `comp` is).
template <typename CompositionType>
auto footage_by_file(CompositionType& comp) {
  using FootagePointer = decltype(std::get_if<FootageLayer>(&comp.layers.front().content));
  std::map<std::filesystem::path, std::vector<FootagePointer>> by_file;
  for (auto& layer : comp.layers) {
    if (auto* footage = std::get_if<FootageLayer>(&layer.content);
        footage != nullptr && footage->image != nullptr) {
      by_file[footage->path].push_back(footage);
    }
  }
  return by_file;
}

}  // namespace

FootageRefresh::FileState FootageRefresh::look_at(const std::filesystem::path& file) {
  std::error_code error;
  FileState state;
  state.modified = std::filesystem::last_write_time(file, error);
  if (error) {
    return {};
  }
  state.size = std::filesystem::file_size(file, error);
  if (error) {
    return {};
  }
  state.found = true;
  return state;
}

void FootageRefresh::watch(const Composition& comp) {
  seen_.clear();
  for (const auto& [file, layers] : footage_by_file(comp)) {
    seen_.emplace(file, look_at(file));
  }
}

std::vector<std::string> FootageRefresh::refresh(Composition& comp) {
  std::vector<std::string> warnings;
  for (auto& [file, layers] : footage_by_file(comp)) {
    const FileState now = look_at(file);
    const auto [known, first_seen] = seen_.try_emplace(file, now);
    if (first_seen || known->second == now) {
      continue;
    }
    known->second = now;
    try {
      Footage footage = read_footage(file);
      if (!footage.warning.empty()) {
        warnings.push_back(std::move(footage.warning));
      }
      const auto image = std::make_shared<const Image>(std::move(footage.image));
      for (FootageLayer* layer : layers) {
        layer->image = image;
      }
    } catch (const HostError& error) {
      warnings.push_back(std::string(error.what()) + "; its layers keep the pixels read before");
    }
  }
  return warnings;
}

}  // namespace lunaform::host

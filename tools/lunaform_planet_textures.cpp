// lunaform-planet-textures: writes the five procedural textures of the planet example
// (examples/planet.json) into a folder, each in the file type the example reads it from:
// the diffuse map as JPEG, the bump map as 16-bit grey PNG, the glossiness map as grey TIFF,
// the city lights as PNG and the starry sky as Radiance HDR. The same width always gives the
// same pixels.
//
// Usage: lunaform-planet-textures OUTDIR [--width W]    (height W / 2, default width 1024)
#include <OpenImageIO/imageio.h>
#include <CLI/CLI.hpp>

#include <array>
#include <cstddef>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/planet_textures.h"

namespace {

using planet_textures::map_kind;

constexpr const char* kProgram = "lunaform-planet-textures";

struct map_file {
  map_kind kind;
  const char* name;
  int channels;  // 1 grey, 3 RGB
  OIIO::TypeDesc format;
  const char* compression;  // OpenImageIO's "Compression" attribute; empty for the default
};

const std::array<map_file, 5> kFiles = {{
    {map_kind::diffuse, "diffuse.jpg", 3, OIIO::TypeDesc::UINT8, "jpeg:92"},
    {map_kind::bump, "bump.png", 1, OIIO::TypeDesc::UINT16, "zip:9"},
    {map_kind::glossiness, "glossiness.tif", 1, OIIO::TypeDesc::UINT8, "zip"},
    {map_kind::city_lights, "city-lights.png", 3, OIIO::TypeDesc::UINT8, "zip:9"},
    {map_kind::environment, "environment.hdr", 3, OIIO::TypeDesc::FLOAT, ""},
}};

// The first `channels` channels of every RGBA pixel.
std::vector<float> keep_channels(const std::vector<float>& rgba, int channels) {
  std::vector<float> kept;
  kept.reserve(rgba.size() / 4 * static_cast<std::size_t>(channels));
  for (std::size_t i = 0; i < rgba.size(); i += 4) {
    kept.insert(kept.end(), rgba.begin() + static_cast<std::ptrdiff_t>(i),
                rgba.begin() + static_cast<std::ptrdiff_t>(i) + channels);
  }
  return kept;
}

// Writes to a temporary name first, so that an interrupted run never leaves a partial texture
// under the name the example reads.
void write_map(const std::filesystem::path& folder, const map_file& file, int width) {
  const int height = width / 2;
  const std::vector<float> pixels =
      keep_channels(planet_textures::make_map(file.kind, width, height), file.channels);
  OIIO::ImageSpec spec(width, height, file.channels, file.format);
  // No time stamp (the TIFF writer adds one otherwise): writing the maps again gives the same
  // bytes, so regenerated files show no change in version control.
  spec.attribute("DateTime", "");
  if (*file.compression != '\0') {
    spec.attribute("Compression", file.compression);
  }
  const std::filesystem::path target = folder / file.name;
  const std::filesystem::path partial =
      folder / (std::string(".partial-") + file.name);  // keeps the extension for the writer
  const std::unique_ptr<OIIO::ImageOutput> output = OIIO::ImageOutput::create(target.string());
  if (!output || !output->open(partial.string(), spec) ||
      !output->write_image(OIIO::TypeDesc::FLOAT, pixels.data()) || !output->close()) {
    const std::string reason = output ? output->geterror() : OIIO::geterror();
    std::filesystem::remove(partial);
    throw std::runtime_error("cannot write " + target.string() + ": " + reason);
  }
  std::filesystem::rename(partial, target);
  std::cout << "wrote " << target.string() << " (" << width << " x " << height << ")\n";
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{
      "Writes the procedural textures of the planet example (diffuse.jpg, bump.png, "
      "glossiness.tif, city-lights.png, environment.hdr) into a folder.",
      kProgram};
  std::string folder;
  app.add_option("OUTDIR", folder, "The folder to write into (made if missing)")
      ->required()
      ->type_name("FOLDER");
  int width = 1024;
  app.add_option("--width", width, "Width of every map in pixels; the height is half of it")
      ->check(CLI::Range(2, 16384));
  CLI11_PARSE(app, argc, argv);

  try {
    std::filesystem::create_directories(folder);
    for (const map_file& file : kFiles) {
      write_map(folder, file, width);
    }
  } catch (const std::exception& error) {
    std::cerr << kProgram << ": " << error.what() << "\n";
    return 1;
  }
  return 0;
}

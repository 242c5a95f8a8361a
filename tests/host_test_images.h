#pragma once

#include <OpenImageIO/imageio.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

namespace host_test {

// An image description whose alpha channel, if any, is the last (2 = grey + alpha, 4 = RGBA).
inline OIIO::ImageSpec image_layout(int width, int height, int channels, OIIO::TypeDesc format) {
  OIIO::ImageSpec layout(width, height, channels, format);
  layout.alpha_channel = (channels == 2 || channels == 4) ? channels - 1 : -1;
  return layout;
}

// Writes `pixels` (in layout.format, channels interleaved, rows from the top) with OpenImageIO.
// Colour is stored as given: the attribute stops the PNG writer from dividing it by alpha.
inline void write_image(const std::filesystem::path& file, OIIO::ImageSpec layout,
                        const void* pixels) {
  layout.attribute("oiio:UnassociatedAlpha", 1);
  const std::unique_ptr<OIIO::ImageOutput> output = OIIO::ImageOutput::create(file.string());
  ASSERT_TRUE(output) << OIIO::geterror();
  ASSERT_TRUE(output->open(file.string(), layout)) << output->geterror();
  ASSERT_TRUE(output->write_image(layout.format, pixels)) << output->geterror();
  ASSERT_TRUE(output->close()) << output->geterror();
}

}  // namespace host_test

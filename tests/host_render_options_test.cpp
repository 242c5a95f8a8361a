#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "host/frame_path.h"
#include "host/frame_range.h"
#include "host/host_error.h"
#include "host/image_file_type.h"
#include "host/output_region.h"

namespace {

using lunaform::host::FrameRange;
using lunaform::host::HostError;
using testing::HasSubstr;
using testing::ThrowsMessage;

TEST(RenderOptionText, FramesAreInclusiveRunsOfWholeNumbers) {
  EXPECT_EQ(lunaform::host::parse_frame_range("0-47"), (FrameRange{0, 47}));
  EXPECT_EQ(lunaform::host::parse_frame_range("12"), (FrameRange{12, 12}));
  EXPECT_EQ(lunaform::host::parse_frame_range("5-5"), (FrameRange{5, 5}));
  EXPECT_EQ(lunaform::host::parse_frame_range("0-47").size(), 48);

  EXPECT_THAT([] { lunaform::host::parse_frame_range("5-2"); },
              ThrowsMessage<HostError>(
                  testing::StrEq("bad --frames '5-2': the last frame comes before the first")));
  for (const char* bad : {"", "-3", "1-", "-", "a-b", "1-2-3", "+1-2", " 1-2", "1.5", "99999999999",
                          "0-99999999999"}) {
    SCOPED_TRACE(bad);
    EXPECT_THAT([&] { lunaform::host::parse_frame_range(bad); },
                ThrowsMessage<HostError>(HasSubstr("bad --frames '" + std::string(bad) +
                                                   "': expected FIRST-LAST or one frame")));
  }
}

TEST(RenderOptionText, AFrameCountsWhenItStartsBeforeTheCompositionEnds) {
  struct Case {
    A_long total_time;
    A_long time_step;
    int frames;
  };
  // 10 s at 30 fps in units of 1/3600 s; 5 s at 29.97 fps (149.85 frames: the last one
  // partial); one frame exactly; one unit more starts a second frame; nothing.
  for (const Case c : {Case{36000, 120, 300}, Case{18000000, 120120, 150}, Case{120, 120, 1},
                       Case{121, 120, 2}, Case{0, 120, 0}}) {
    SCOPED_TRACE(c.total_time);
    EXPECT_EQ(lunaform::host::frame_count(c.total_time, c.time_step), c.frames);
  }
  EXPECT_THROW(lunaform::host::frame_count(100, 0), HostError);

  EXPECT_NO_THROW(lunaform::host::check_frame_range({0, 299}, 300));
  EXPECT_THAT(
      [] {
        lunaform::host::check_frame_range({0, 300}, 300);
      },
      ThrowsMessage<HostError>(
          testing::StrEq("frames 0-300 lie outside the composition, which has frames 0-299")));
  EXPECT_THAT(
      [] {
        lunaform::host::check_frame_range({-1, -1}, 300);
      },
      ThrowsMessage<HostError>(HasSubstr("frame -1 lies outside")));
  EXPECT_THAT(
      [] {
        lunaform::host::check_frame_range({0, 0}, 0);
      },
      ThrowsMessage<HostError>(testing::EndsWith("outside the composition, which has no frames")));
}

TEST(RenderOptionText, RegionsAreRectanglesInsideTheLayer) {
  const PF_LRect region = lunaform::host::parse_region("10,20,30,40");
  EXPECT_EQ(region.left, 10);
  EXPECT_EQ(region.top, 20);
  EXPECT_EQ(region.right, 40);
  EXPECT_EQ(region.bottom, 60);

  struct Bad {
    const char* text;
    const char* problem;
  };
  for (const Bad b :
       {Bad{"1,2,3", "expected X,Y,WIDTH,HEIGHT"}, Bad{"1,2,3,4,5", "expected X,Y,WIDTH,HEIGHT"},
        Bad{"a,b,c,d", "expected X,Y,WIDTH,HEIGHT"}, Bad{"-1,0,5,5", "expected X,Y,WIDTH,HEIGHT"},
        Bad{"0,0,5,", "expected X,Y,WIDTH,HEIGHT"},
        Bad{"0,0,0,5", "width and height must be at least 1"},
        Bad{"0,0,5,0", "width and height must be at least 1"},
        Bad{"2147483647,0,5,5", "larger than any layer"}}) {
    SCOPED_TRACE(b.text);
    EXPECT_THAT([&] { lunaform::host::parse_region(b.text); },
                ThrowsMessage<HostError>(
                    HasSubstr("bad --region '" + std::string(b.text) + "': " + b.problem)));
  }

  // A 960 x 540 layer: the region may touch every edge but not cross one.
  EXPECT_NO_THROW(lunaform::host::check_region({0, 0, 960, 540}, {960, 540}));
  EXPECT_NO_THROW(lunaform::host::check_region({959, 539, 960, 540}, {960, 540}));
  EXPECT_THAT(
      [] {
        lunaform::host::check_region({900, 0, 961, 10}, {960, 540});
      },
      ThrowsMessage<HostError>(
          testing::StrEq("--region 900,0,61,10 reaches outside the layer of 960 x 540 pixels")));
  EXPECT_THROW(lunaform::host::check_region({0, 500, 10, 541}, {960, 540}), HostError);
}

TEST(RenderOptionText, TheRunOfHashesInTheFileNameBecomesTheFrameNumber) {
  struct Case {
    const char* pattern;
    int frame;
    const char* file;
  };
  for (const Case c :
       {Case{"out.####.png", 7, "out.0007.png"},
        Case{"shots/take.##.exr", 123, "shots/take.123.exr"}, Case{"#.png", 0, "0.png"},
        Case{"out.png", 5, "out.png"}, Case{"a#b/out.png", 5, "a#b/out.png"}}) {
    SCOPED_TRACE(c.pattern);
    EXPECT_EQ(lunaform::host::frame_file(c.pattern, c.frame), c.file);
    EXPECT_EQ(lunaform::host::has_frame_placeholder(c.pattern), std::string(c.pattern) != c.file);
  }
  EXPECT_THAT([] { lunaform::host::has_frame_placeholder("out.##.v#.png"); },
              ThrowsMessage<HostError>(HasSubstr("more than one frame-number placeholder")));
}

TEST(RenderOptionText, TheOutputsExtensionChoosesTheFileTypeAndItsDepths) {
  using lunaform::host::ImageFileType;
  EXPECT_EQ(lunaform::host::image_file_type("a.png"), ImageFileType::png);
  EXPECT_EQ(lunaform::host::image_file_type("dir.exr/A.PNG"), ImageFileType::png);
  EXPECT_EQ(lunaform::host::image_file_type("a.Exr"), ImageFileType::exr);
  EXPECT_EQ(lunaform::host::default_bits_per_channel(ImageFileType::png), 8);
  EXPECT_EQ(lunaform::host::default_bits_per_channel(ImageFileType::exr), 32);
  EXPECT_THAT([] { lunaform::host::image_file_type("a.jpg"); },
              ThrowsMessage<HostError>(testing::StrEq(
                  "cannot write 'a.jpg': unknown image type '.jpg' (use .png or .exr)")));
  EXPECT_THAT([] { lunaform::host::image_file_type("png"); },
              ThrowsMessage<HostError>(HasSubstr("no image type")));

  struct Case {
    const char* file;
    int bits;
    bool fits;
  };
  for (const Case c :
       {Case{"a.png", 8, true}, Case{"a.png", 16, true}, Case{"a.png", 32, false},
        Case{"a.exr", 32, true}, Case{"a.exr", 8, false}, Case{"a.exr", 16, false}}) {
    SCOPED_TRACE(std::string(c.file) + " " + std::to_string(c.bits));
    if (c.fits) {
      EXPECT_NO_THROW(lunaform::host::check_bits_for_file(c.file, c.bits));
    } else {
      EXPECT_THAT([&] { lunaform::host::check_bits_for_file(c.file, c.bits); },
                  ThrowsMessage<HostError>(HasSubstr("cannot write " + std::to_string(c.bits) +
                                                     " bits per channel to '" + c.file + "'")));
    }
  }
}

}  // namespace

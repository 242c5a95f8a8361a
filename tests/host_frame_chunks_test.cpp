#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "host/frame_range.h"
#include "host/host_error.h"

namespace {

using lunaform::host::chunk_frames;
using lunaform::host::FrameChunk;
using lunaform::host::FrameRange;
using lunaform::host::HostError;
using lunaform::host::parse_frame_chunk;
using lunaform::host::parse_frame_range;
using testing::HasSubstr;

// A step takes every S-th frame, the last one the step reaches closing the range.
TEST(HostFrameChunks, AStepTakesEverySthFrame) {
  EXPECT_EQ(parse_frame_range("0-10:4"), (FrameRange{0, 8, 4}));
  EXPECT_EQ(parse_frame_range("0-10:4").size(), 3);
  EXPECT_EQ(parse_frame_range("3-9:3"), (FrameRange{3, 9, 3}));
  EXPECT_EQ(parse_frame_range("7"), (FrameRange{7, 7, 1}));
  for (const auto& [bad, problem] :
       {std::pair{"0-10:0", "the step must be 1 or more"}, std::pair{"5:2", "expected"},
        std::pair{"0-10:", "expected"}, std::pair{"0-10:x", "expected"}}) {
    EXPECT_THAT([&] { parse_frame_range(bad); },
                testing::ThrowsMessage<HostError>(HasSubstr(problem)))
        << bad;
  }
  for (const auto& [bad, problem] :
       {std::pair{"4/4", "the part must be 0 to 3"}, std::pair{"0/0", "1 part or more"},
        std::pair{"1", "expected PART/PARTS"}, std::pair{"-1/4", "expected"}}) {
    EXPECT_THAT([&] { parse_frame_chunk(bad); },
                testing::ThrowsMessage<HostError>(HasSubstr(problem)))
        << bad;
  }
}

// However many frames and parts: the parts together hold every frame once, in order, and their
// sizes differ by one at most, the larger ones first.
TEST(HostFrameChunks, PartsShareTheFramesNearlyEquallyInOrder) {
  for (const auto& [range, parts] :
       {std::pair{FrameRange{0, 23, 1}, 4}, std::pair{FrameRange{0, 9, 1}, 4},
        std::pair{FrameRange{5, 95, 10}, 3}, std::pair{FrameRange{0, 1, 1}, 5}}) {
    std::vector<int> joined;
    std::vector<int> sizes;
    for (int index = 0; index < parts; ++index) {
      const std::vector<int> part = chunk_frames(range, FrameChunk{index, parts});
      joined.insert(joined.end(), part.begin(), part.end());
      sizes.push_back(static_cast<int>(part.size()));
    }
    std::vector<int> expected;
    for (int frame = range.first; frame <= range.last; frame += range.step) {
      expected.push_back(frame);
    }
    EXPECT_EQ(joined, expected);
    EXPECT_TRUE(std::is_sorted(sizes.rbegin(), sizes.rend()));
    EXPECT_LE(sizes.front() - sizes.back(), 1);
  }
  EXPECT_EQ(chunk_frames({0, 9, 1}, {1, 4}), (std::vector<int>{3, 4, 5}));
  EXPECT_EQ(chunk_frames({0, 9, 1}, {3, 4}), (std::vector<int>{8, 9}));
}

}  // namespace

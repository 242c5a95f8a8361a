// The renderer's parts that need no GPU: the render thread, std140 uniform blocks, GGX samples.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstring>
#include <future>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <typeinfo>
#include <vector>

#include "plugin/hx_exception.h"
#include "plugin/slot_textures.h"
#include "renderer/basic_renderer_thread.h"
#include "renderer/ggx_sample_table.h"
#include "renderer/pixel_rect.h"
#include "renderer/uniform_blocks.h"

namespace {

using std::this_thread::get_id;

// Stands in for the GL renderer: records the textures it deletes and the thread that destroys
// it, after a pause that lets a thread destructor that does not wait for it return first.
struct ProbeRenderer {
  std::thread::id* destroyed_on = nullptr;
  std::vector<unsigned int> deleted;
  ~ProbeRenderer() {
    if (destroyed_on != nullptr) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      *destroyed_on = get_id();
    }
  }
  void delete_texture(unsigned int texture) { deleted.push_back(texture); }
};
using ProbeThread = BasicRendererThread<ProbeRenderer>;

std::unique_ptr<ProbeThread> recording_thread(std::thread::id& built_on,
                                              std::thread::id& destroyed_on) {
  return std::make_unique<ProbeThread>([&built_on, &destroyed_on] {
    built_on = get_id();
    return std::unique_ptr<ProbeRenderer>(new ProbeRenderer{&destroyed_on, {}});
  });
}

// Whether destroying `thread` on a helper returns in time: a blocking destructor fails, not hangs.
bool destroyed_promptly(std::unique_ptr<ProbeThread> thread) {
  auto returned = std::make_shared<std::promise<void>>();
  std::future<void> future = returned->get_future();
  std::thread([returned, thread = std::move(thread)]() mutable {
    thread.reset();
    returned->set_value();
  }).detach();
  return future.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
}

TEST(RendererThread, JobsRunInOrderOnTheThreadThatBuiltTheRendererWhichDiesWithIt) {
  std::thread::id built_on, destroyed_on;
  auto thread = recording_thread(built_on, destroyed_on);
  EXPECT_NE(built_on, get_id());
  // An empty job would never be taken and leave its caller waiting: it is refused.
  EXPECT_THROW(thread->submit(RendererJob()), std::bad_function_call);
  std::vector<int> order;
  for (int i = 0; i < 10; ++i) {
    thread->run([&order, &built_on, i] {
      order.push_back(i);
      EXPECT_EQ(get_id(), built_on);
    });
  }
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
  // Destroyed while idle, it destroys the renderer on the render thread before it returns.
  EXPECT_EQ(destroyed_on, std::thread::id());
  ASSERT_TRUE(destroyed_promptly(std::move(thread)));
  EXPECT_EQ(destroyed_on, built_on);
}

TEST(RendererThread, AJobsOrTheRenderersBuildingExceptionReachesItsCallerAndEndsTheThread) {
  struct shader_failure : hx_exception {
    using hx_exception::hx_exception;
  };
  const std::vector<std::tuple<RendererJob, const std::type_info&, std::string>> cases = {
      {[] { throw shader_failure("could not build program"); }, typeid(shader_failure),
       "could not build program"},
      {[] { throw std::out_of_range("slot 9"); }, typeid(std::out_of_range), "slot 9"}};
  for (const auto& [job, type, message] : cases) {
    std::thread::id built_on, destroyed_on;
    auto thread = recording_thread(built_on, destroyed_on);
    try {
      thread->run(job);
      ADD_FAILURE() << "the job's exception did not reach the caller";
    } catch (const std::exception& e) {
      EXPECT_EQ(typeid(e), type);
      EXPECT_EQ(e.what(), message);
    }
    // The renderer went down with the job, on its own thread; the thread then ends at once.
    EXPECT_EQ(destroyed_on, built_on);
    EXPECT_TRUE(destroyed_promptly(std::move(thread)));
  }
  ProbeThread ended;
  EXPECT_THROW(ended.run([] { throw hx_exception("lost context"); }), hx_exception);
  bool ran = false;
  for (int attempt = 0; attempt < 3; ++attempt) {
    EXPECT_NO_THROW(ended.run([&ran] { ran = true; }));
  }
  EXPECT_FALSE(ran) << "a job ran after the thread had ended";
  // A failure to build the renderer is rethrown by the constructor, repeated so that a thread
  // still touching the freed object shows under the sanitizers.
  for (int attempt = 0; attempt < 20; ++attempt) {
    std::thread::id failed_on;
    try {
      ProbeThread thread([&failed_on]() -> std::unique_ptr<ProbeRenderer> {
        failed_on = get_id();
        throw std::runtime_error("failed to create OpenGL 4.1 context");
      });
      ADD_FAILURE() << "the constructor returned";
    } catch (const std::runtime_error& e) {
      EXPECT_STREQ(e.what(), "failed to create OpenGL 4.1 context");
    }
    EXPECT_NE(failed_on, std::thread::id());
    EXPECT_NE(failed_on, get_id());
  }
}

TEST(RendererThread, AJobsErrorReachesItsCallerHoweverFastTheJobEnded) {
  for (int attempt = 0; attempt < 40; ++attempt) {
    ProbeThread thread;
    std::promise<void> throwing;
    const std::string message = "job " + std::to_string(attempt);
    thread.submit([&throwing, &message] {
      throwing.set_value();
      throw hx_exception(message);
    });
    if (attempt % 2 == 0) {
      // Half of the callers come to wait only after the job has failed and reported.
      throwing.get_future().wait();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    try {
      thread.wait();
      ADD_FAILURE() << message << ": the error was lost";
    } catch (const hx_exception& e) {
      EXPECT_EQ(e.what(), message);
    }
  }
}

TEST(RendererThread, CallersSerialisedByAMutexHaveEveryJobRunExactlyOnce) {
  ProbeThread thread;
  std::mutex callers_mutex;
  std::vector<int> runs(1000, 0);
  std::vector<std::thread> callers;
  for (int caller = 0; caller < 4; ++caller) {
    callers.emplace_back([&, caller] {
      for (int job = caller * 250; job < caller * 250 + 250; ++job) {
        std::lock_guard lock(callers_mutex);
        thread.run([&runs, job] { ++runs[job]; });
      }
    });
  }
  for (std::thread& caller : callers) {
    caller.join();
  }
  EXPECT_EQ(runs, std::vector<int>(1000, 1));
}

TEST(LifecycleSlotTextures, EverySlotsTextureIsDeletedOnTheRenderThreadInSlotOrder) {
  SequenceData data{};
  // Names out of slot order, glossiness empty: deletions follow the slots, the empty one too.
  const unsigned int textures[] = {40, 0, 7, 93, 12};
  const int slots[] = {kDiffuseSlot, kGlossinessSlot, kIlluminationSlot, kBumpSlot,
                       kEnvironmentSlot};
  for (int i = 0; i < 5; ++i) {
    data.slots[slots[i]].texture = textures[i];
  }
  ProbeThread render_thread;
  delete_slot_textures(render_thread, data);
  render_thread.run_on_renderer([](ProbeRenderer& renderer) {
    EXPECT_EQ(renderer.deleted, (std::vector<unsigned int>{40, 0, 7, 93, 12}));
  });
}

TEST(GgxSampleTable, SamplesAreUnitHalfVectorsOfEachLayersGgxLobeInHammersleyOrder) {
  EXPECT_NEAR(ggx_sample_table::layer_roughness(0), 0.0066, 1e-4);
  EXPECT_NEAR(ggx_sample_table::layer_roughness(5), 1.0, 1e-6);
  const std::vector<float> table = ggx_sample_table::make();
  ASSERT_EQ(table.size(), std::size_t{512 * 6 * 4});
  for (int layer = 0; layer < 6; ++layer) {
    const double a = ggx_sample_table::layer_roughness(layer);
    for (unsigned int i = 0; i < 512; ++i) {
      // The radical inverse the slow way: bit k of i contributes 2^-(k+1).
      double xi = 0.0;
      for (unsigned int bits = i, k = 1; bits != 0; bits >>= 1, ++k) {
        xi += (bits & 1u) * std::ldexp(1.0, -static_cast<int>(k));
      }
      EXPECT_NEAR(ggx_sample_table::radical_inverse(i), xi, 1e-7) << i;
      const float* s = &table[(layer * 512 + i) * 4];
      const double x = s[0], y = s[1], z = s[2];
      SCOPED_TRACE(std::to_string(layer) + "/" + std::to_string(i));
      EXPECT_NEAR(x * x + y * y + z * z, 1.0, 1e-5);
      EXPECT_TRUE(z >= 0.0 && s[3] == 0.0f);
      if (i == 0) {
        EXPECT_TRUE(x == 0.0 && y == 0.0 && z == 1.0) << "the first sample is the normal";
        continue;
      }
      // Sample i lies at azimuth 2 pi i / 512; for GGX the cumulative in the polar angle
      // inverts to tan^2 = a^2 xi / (1 - xi) (for a = 1 the cosine-weighted hemisphere).
      EXPECT_NEAR(std::remainder(std::atan2(y, x) - 2.0 * M_PI * i / 512.0, 2.0 * M_PI), 0.0, 1e-4);
      const double tan2 = (x * x + y * y) / (z * z);
      EXPECT_NEAR(tan2, a * a * xi / (1.0 - xi), 2e-3 * (1.0 + tan2));
    }
  }
}

template <std::size_t N>
std::vector<float> floats(const std::array<std::byte, N>& block, std::size_t offset,
                          std::size_t count) {
  std::vector<float> values(count);
  std::memcpy(values.data(), block.data() + offset, 4 * count);
  return values;
}
std::int32_t int_at(const LightsBlock& block, std::size_t offset) {
  std::int32_t value;
  std::memcpy(&value, block.data() + offset, 4);
  return value;
}

// The Lights block by std140: numLights at 0, ambientLights at 16, slot s at 32 + 80 s, and
// within a slot position 0, direction 16, color 32, lightType 48, falloffType 52, falloff 56,
// spotConeCos 60, spotFeather 64.
constexpr std::size_t slot(int s) {
  return 32 + 80 * static_cast<std::size_t>(s);
}

light_properties light(int32_t type, float falloff, std::array<float, 3> rgb = {1, 1, 1},
                       hxsdk::vec4 position = {}, hxsdk::vec4 direction = {}) {
  light_properties l{position, direction, {rgb[0], rgb[1], rgb[2], 1.0f}, type};
  l.falloff = falloff;
  return l;
}

TEST(UniformBlocks, BlocksHoldTheCameraAndLightRecordsAtTheirStd140Offsets) {
  // The view matrix, the projection matrix and the view size, one after the other.
  render_properties camera;
  std::vector<float> expected(34);
  for (int i = 0; i < 16; ++i) {
    camera.view_matrix[i] = expected[i] = i + 1.0f;
    camera.projection_matrix[i] = expected[16 + i] = 101.0f + i;
  }
  camera.view_size = {expected[32] = 1920.0f, expected[33] = 1080.0f};
  EXPECT_EQ(floats(pack_transform_matrices(camera), 0, 34), expected);

  light_properties spot =
      light(kLightSpot, 7.5f, {0.5f, 0.25f, 2.0f}, {1, 2, 3, 0}, {0, 0.6f, -0.8f, 0});
  spot.cone_feather = 0.25f;
  const light_properties parallel =
      light(kLightParallel, 0.0f, {0.1f, 0.2f, 0.3f}, {-4, 0, 9, 0}, {1, 0, 0, 0});
  // The spot cone's cosine is that of half the cone angle.
  for (const auto& [cone, cosine] : std::vector<std::pair<float, double>>{
           {0.0f, 1.0}, {60.0f, std::sqrt(3.0) / 2}, {90.0f, std::sqrt(0.5)}, {180.0f, 0.0}}) {
    spot.cone_angle = cone;
    const LightsBlock block = pack_lights({spot, parallel});
    EXPECT_NEAR(floats(block, slot(0) + 60, 1)[0], cosine, 1e-6) << cone << " degrees";
    EXPECT_EQ(floats(block, slot(0), 12),
              (std::vector<float>{1, 2, 3, 0, 0, 0.6f, -0.8f, 0, 0.5f, 0.25f, 2, 1}));
    EXPECT_TRUE(int_at(block, slot(0) + 48) == kLightSpot && int_at(block, slot(0) + 52) == 0);
    EXPECT_EQ(floats(block, slot(0) + 56, 1)[0], 7.5f);
    EXPECT_EQ(floats(block, slot(0) + 64, 1)[0], 0.25f);
    EXPECT_EQ(floats(block, slot(1), 12),
              (std::vector<float>{-4, 0, 9, 0, 1, 0, 0, 0, 0.1f, 0.2f, 0.3f, 1}));
    EXPECT_EQ(int_at(block, slot(1) + 48), kLightParallel);
  }
}

TEST(UniformBlocks, LightListsFillAtMostEightSlotsAndSumTheAmbientOnes) {
  std::vector<light_properties> nine(9);
  for (int i = 0; i < 9; ++i) {
    nine[i] = light(kLightPoint, static_cast<float>(i));  // the falloff tells them apart
  }
  const light_properties dim = light(kLightAmbient, 0, {0.1f, 0.2f, 0.3f});
  const light_properties bright = light(kLightAmbient, 0, {0.4f, 0.5f, 0.6f});
  std::vector<light_properties> ambient_ninth(nine.begin(), nine.begin() + 8);
  ambient_ninth.push_back(bright);
  std::vector<light_properties> ambient_eighth(nine.begin(), nine.begin() + 7);
  ambient_eighth.push_back(bright);
  ambient_eighth.push_back(nine[7]);
  const std::vector<float> both = {0.1f + 0.4f, 0.2f + 0.5f, 0.3f + 0.6f, 2}, none(4, 0.0f);
  const std::vector<std::tuple<std::vector<light_properties>, int32_t, std::vector<float>>> cases =
      {{{}, 0, none},
       {{dim, bright}, 0, both},
       {{dim, nine[0], bright}, 1, both},
       {nine, 8, none},
       // An ambient light after the eighth slot is left out; one before it still counts.
       {ambient_ninth, 8, none},
       {ambient_eighth, 8, {0.4f, 0.5f, 0.6f, 1}}};
  for (const auto& [lights, count, ambient] : cases) {
    SCOPED_TRACE(lights.size());
    const LightsBlock block = pack_lights(lights);
    EXPECT_EQ(int_at(block, 0), count);
    EXPECT_EQ(floats(block, 16, 4), ambient);
    for (int s = 0; s < count; ++s) {
      EXPECT_TRUE(int_at(block, slot(s) + 48) == kLightPoint &&
                  floats(block, slot(s) + 56, 1)[0] == s)
          << "slot " << s;
    }
    for (std::size_t byte = slot(count); byte < block.size(); ++byte) {
      ASSERT_EQ(block[byte], std::byte{0}) << "slots past numLights stay empty: byte " << byte;
    }
  }
}

}  // namespace

// A sphere of radius r at (x, y, -distance) seen by a 90 degree camera at the origin: every point
// of the sphere, projected by the same formula a GPU uses, falls inside the bounds, which are
// not much larger than those points' own; a sphere around the eye claims the whole target and
// one beside the view nothing. The strips around a rectangle cover the rest exactly once.
TEST(PixelRect, BoundsHoldEveryProjectedPointOfTheSphereAndStripsTileTheRest) {
  constexpr int kWidth = 160;
  constexpr int kHeight = 90;
  constexpr float kNear = 1.0f;
  constexpr float kFar = 1000.0f;
  hxsdk::mat4 projection;
  projection[0] = float(kHeight) / kWidth;
  projection[5] = 1.0f;
  projection[10] = (kFar + kNear) / (kNear - kFar);
  projection[11] = -1.0f;
  projection[14] = 2.0f * kFar * kNear / (kNear - kFar);
  const auto bounds_of = [&](float x, float y, float distance, float r) {
    hxsdk::mat4 model = hxsdk::scale_matrix(r, r, r);
    hxsdk::multiply(model, hxsdk::translation_matrix({x, y, -distance, 0.0f}));
    hxsdk::multiply(model, projection);
    return projected_bounds(model, kWidth, kHeight);
  };
  for (const auto [x, y, distance, r] : {std::array{0.0f, 0.0f, 10.0f, 3.0f},
                                         {-6.0f, 2.5f, 9.0f, 1.5f},
                                         {8.0f, -1.0f, 10.0f, 4.0f}}) {
    const PixelRect rect = bounds_of(x, y, distance, r);
    float low_x = kWidth, low_y = kHeight, high_x = 0.0f, high_y = 0.0f;
    for (int i = 0; i < 4000; ++i) {  // a Fibonacci spiral over the sphere
      const double z = 1.0 - (i + 0.5) / 2000.0;
      const double angle = i * 2.399963229728653;
      const double ring = std::sqrt(1.0 - z * z);
      const double px = x + r * ring * std::cos(angle);
      const double py = y + r * ring * std::sin(angle);
      const double depth = distance - r * z;
      const float wx = float((px * kHeight / kWidth / depth + 1.0) * 0.5 * kWidth);
      const float wy = float((py / depth + 1.0) * 0.5 * kHeight);
      if (wx >= 0 && wx <= kWidth && wy >= 0 && wy <= kHeight) {
        EXPECT_TRUE(wx >= rect.x0 && wx <= rect.x1 && wy >= rect.y0 && wy <= rect.y1)
            << wx << ", " << wy << " outside " << rect.x0 << "-" << rect.x1 << ", " << rect.y0
            << "-" << rect.y1;
        low_x = std::min(low_x, wx), high_x = std::max(high_x, wx);
        low_y = std::min(low_y, wy), high_y = std::max(high_y, wy);
      }
    }
    EXPECT_LT(rect.width() * rect.height(), 3.0f * (high_x - low_x) * (high_y - low_y)) << x;
  }
  EXPECT_EQ(bounds_of(0.0f, 0.0f, 0.5f, 2.0f).width(), kWidth);
  EXPECT_EQ(bounds_of(0.0f, 0.0f, 0.5f, 2.0f).height(), kHeight);
  EXPECT_TRUE(bounds_of(40.0f, 0.0f, 10.0f, 2.0f).empty());

  const PixelRect outer{2, 3, 12, 9};
  for (const PixelRect inner : {PixelRect{4, 5, 8, 7}, {0, 0, 5, 20}, {20, 0, 30, 5}, {}}) {
    const std::vector<PixelRect> strips = strips_outside(outer, inner);
    EXPECT_LE(strips.size(), 4u);
    for (int y = 0; y < 12; ++y) {
      for (int x = 0; x < 14; ++x) {
        const auto in = [&](const PixelRect& p) {
          return x >= p.x0 && x < p.x1 && y >= p.y0 && y < p.y1;
        };
        const int covering = int(std::count_if(strips.begin(), strips.end(), in));
        EXPECT_EQ(covering, in(outer) && !in(inner) ? 1 : 0) << x << ", " << y;
      }
    }
  }
}

#include "plugin/slot_textures.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "plugin/sequence_data.h"
#include "renderer/basic_renderer_thread.h"

namespace {

// Stands in for the GL renderer at its delete_texture boundary: records each texture name it is
// asked to delete and the thread the request ran on.
struct DeletionRecorder {
  struct Deletion {
    unsigned int texture;
    std::thread::id thread;
  };
  std::vector<Deletion> deletions;

  void delete_texture(unsigned int texture) {
    deletions.push_back({texture, std::this_thread::get_id()});
  }
};

TEST(LifecycleSlotTextures, EverySlotsTextureIsDeletedOnTheRenderThreadInSlotOrder) {
  SequenceData data{};
  // Distinct names out of slot order, with the glossiness slot empty: the deletions must follow
  // the slots, not the names, and must include the empty slot's texture 0.
  data.slots[kDiffuseSlot].texture = 40;
  data.slots[kGlossinessSlot].texture = 0;
  data.slots[kIlluminationSlot].texture = 7;
  data.slots[kBumpSlot].texture = 93;
  data.slots[kEnvironmentSlot].texture = 12;

  std::vector<DeletionRecorder::Deletion> deletions;
  std::thread::id render_thread_id;
  {
    BasicRendererThread<DeletionRecorder> render_thread;
    delete_slot_textures(render_thread, data);
    render_thread.run_on_renderer([&](DeletionRecorder& renderer) {
      deletions = renderer.deletions;
      render_thread_id = std::this_thread::get_id();
    });
  }

  const unsigned int expected[] = {40, 0, 7, 93, 12};
  ASSERT_EQ(deletions.size(), 5u);
  for (std::size_t slot = 0; slot < deletions.size(); ++slot) {
    EXPECT_EQ(deletions[slot].texture, expected[slot]) << "slot " << slot;
    EXPECT_EQ(deletions[slot].thread, render_thread_id) << "slot " << slot;
  }
  EXPECT_NE(render_thread_id, std::this_thread::get_id());
}

}  // namespace

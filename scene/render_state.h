#pragma once

#include <memory>

#include "renderer/renderer_thread.h"
#include "scene/model_ref.h"
#include "scene/render_properties.h"
#include "scene/scene_parameters.h"

struct SequenceData;

// The GPU side of the effect as the host side sees it: the render thread, the sphere mesh on
// the GPU, and the copies of the current sample's camera and scene that the renderer reads
// while the host thread waits. Created at global setup, destroyed at global setdown
// (renderer/render_client.h has the operations).
struct RenderState {
  std::unique_ptr<RendererThread> render_thread;
  model_ref sphere;
  render_properties camera;
  scene_parameters scene;
  SequenceData* sequence_data = nullptr;  // locked for one frame render command
};

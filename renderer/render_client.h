#pragma once

#include <memory>
#include <vector>

#include "scene/light_properties.h"
#include "scene/math3d.h"
#include "scene/render_properties.h"
#include "scene/render_state.h"

// Host-side operations on a RenderState. Each runs its renderer operations as jobs on the
// render thread and returns when they have run; a renderer exception is rethrown here.
// Callers must not overlap (one frame at a time).

// Starts the render thread, builds the Renderer on it and uploads the sphere mesh; rethrows a
// failure of either.
std::unique_ptr<RenderState> create_render_state();

// Copies camera into state.camera and has the renderer take it from there.
void post_render_properties(RenderState& state, const render_properties& camera);

// Assigns lights to state.scene.lights and has the renderer pack them from there.
void post_lights(RenderState& state, const std::vector<light_properties>& lights);

// Draws state.sphere placed by state.scene with its material, then blends the result into
// the frame's accumulation with weight (1/k for the k-th sample of a frame).
void post_draw(RenderState& state, float weight);

// Places the unit sphere mesh: a vertex is scaled by radius, rotated by orientation, then
// moved to position (T * R * S for column vectors).
hxsdk::mat4 model_matrix(const hxsdk::vec4& position, const hxsdk::quaternion& orientation,
                         float radius);

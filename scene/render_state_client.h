#pragma once

#include <vector>

#include "scene/image_desc.h"
#include "scene/light_properties.h"
#include "scene/render_data.h"
#include "scene/render_properties.h"
#include "scene/render_state.h"

// The renderer as the frame render command drives it: each call runs its renderer operation
// as a job on the state's render thread and returns once it has run, rethrowing the job's
// exception. Records go by reference to the renderer; the copies the renderer reads while the
// host thread waits are kept in the RenderState (renderer/render_client.h).
class RenderStateClient {
 public:
  explicit RenderStateClient(RenderState& state) : state_(state) {}

  void set_output(unsigned int sample_count, const render_data& frame);
  void post_render_properties(const render_properties& camera);
  void post_lights(const std::vector<light_properties>& lights);
  void clear_target();
  // Draws the sphere placed and shaded by the state's scene copy, then accumulates it.
  void post_draw(float weight);
  void read_output(float gamma);
  void delete_texture(unsigned int texture);
  unsigned int upload_texture(const image_desc& image);
  unsigned int make_normal_map(unsigned int bump_texture, int width, int height);
  unsigned int make_environment_cube(unsigned int equirectangular_texture);

 private:
  RenderState& state_;
};

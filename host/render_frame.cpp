#include "host/render_frame.h"

#include <string>

#include "host/command_result.h"
#include "host/frame_range.h"

namespace lunaform::host {

std::unique_ptr<PixelWorld> render_frame(EffectHost& host, int frame) {
  begin_frame(host, frame);
  return render_output(host, frame);
}

void begin_frame(EffectHost& host, int frame) {
  HostSettings& settings = host.settings();
  check_frame_range({frame, frame}, frame_count(settings.total_time, settings.time_step));
  settings.current_time = frame * settings.time_step;
  host.refresh_footage();
}

std::unique_ptr<PixelWorld> render_output(EffectHost& host, int frame) {
  const std::string which = " of frame " + std::to_string(frame);
  require_success(host.smart_pre_render(), "Smart PreRender" + which);
  require_success(host.smart_render(), "Smart Render" + which);
  return host.take_output_world();
}

}  // namespace lunaform::host

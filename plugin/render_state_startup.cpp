#include "plugin/render_state_startup.h"

#include <exception>
#include <string>

#include "plugin/hx_exception.h"
#include "plugin/product_info.h"

std::unique_ptr<RenderState> start_render_state(RenderStateFactory make_render_state) {
  try {
    return make_render_state();
  } catch (const std::exception& error) {
    throw hx_exception(std::string(product::kName) + " failed to initialize with error:\n\n" +
                       error.what());
  }
}

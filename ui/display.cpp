#include "ui/display.h"

#include <cstdlib>

namespace hxsdk::ui {

bool display_available() {
  const char* display = std::getenv("DISPLAY");
  return display != nullptr && *display != '\0';
}

}  // namespace hxsdk::ui

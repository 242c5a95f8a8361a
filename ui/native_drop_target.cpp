#include "ui/native_drop_target.h"

#include "ui/window.h"

namespace hxsdk::ui {

void native_drop_target::complete(point at) {
  if (!files_.empty() && window_.accepts_drop(at)) {
    window_.route_drop(at, files_);
  }
  files_.clear();
}

}  // namespace hxsdk::ui

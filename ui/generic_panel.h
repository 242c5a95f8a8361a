#pragma once

#include "ui/widget.h"

namespace hxsdk::ui {

// A plain rectangle: "default_back_color" filled, "default_border_color" outlined.
class generic_panel : public widget {
 public:
  generic_panel();
  void paint() override;
};

}  // namespace hxsdk::ui

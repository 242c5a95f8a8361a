#include "plugin/about.h"

#include <string>

#include "plugin/product_info.h"

void show_about(hxsdk::NativeWindow owner) {
  const std::string text = std::string(product::kName) + " v" + product::version_text() + " (" +
                           std::to_string(product::kBuild) + ")";
  hxsdk::show_message_box(owner, product::kName, text);
}

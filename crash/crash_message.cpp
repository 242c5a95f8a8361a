#include "crash/crash_message.h"

#include "plugin/product_info.h"

namespace crash {

void append_crash_message(MessageText& message, std::string_view dump_path) {
  message.append("Please compress the following file and contact support (")
      .append(product::kSupportAddress)
      .append("):\n\n")
      .append(dump_path);
}

}  // namespace crash

#pragma once

#include <string_view>

#include "crash/crash_report_path.h"
#include "crash/fixed_text.h"

namespace crash {

using MessageText = FixedText<kPathCapacity + 256>;

// Appends what the user is told after a fault: to compress the report at `dump_path` and send
// it to the support address. Allocates nothing.
void append_crash_message(MessageText& message, std::string_view dump_path);

}  // namespace crash

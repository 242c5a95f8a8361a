#pragma once

#include <ctime>
#include <string_view>

#include "crash/fixed_text.h"

namespace crash {

// Long enough for any path the system accepts (PATH_MAX).
inline constexpr std::size_t kPathCapacity = 4096;
using PathText = FixedText<kPathCapacity>;

// Appends the folder that holds the crash reports under `base_folder` (the user's documents
// or the temporary folder): "BASE/Brightmoor/Error Logs".
void append_report_folder(PathText& path, std::string_view base_folder);

// Appends the name of the report written at `local_time` by thread `thread_id` of process
// `process_id`: product tag, date, time, process, thread, as in
// "Lunaform_v1.0.66-20240131-235959-4321-8765.dmp". Two threads that fault in the same second
// get different names. Allocates nothing.
void append_dump_file_name(PathText& path, const std::tm& local_time, long process_id,
                           long thread_id);

}  // namespace crash

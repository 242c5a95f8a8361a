#include "crash/crash_report_path.h"

#include "plugin/product_info.h"

namespace crash {
namespace {

// The maker's folder in the user's documents, then the folder of the error logs in it. Only
// the last level is ever created: without the maker's folder no report is written.
constexpr std::string_view kMakerFolder = "Brightmoor";
constexpr std::string_view kLogFolder = "Error Logs";

}  // namespace

void append_report_folder(PathText& path, std::string_view base_folder) {
  path.append(base_folder);
  if (!base_folder.ends_with('/')) {
    path.append("/");
  }
  path.append(kMakerFolder).append("/").append(kLogFolder);
}

void append_dump_file_name(PathText& path, const std::tm& local_time, long process_id,
                           long thread_id) {
  // The product tag names the build that crashed: name, major and minor version, build.
  path.append(product::kName)
      .append("_v")
      .append_decimal(product::kVersionMajor)
      .append(".")
      .append_decimal(product::kVersionMinor)
      .append(".")
      .append_decimal(product::kBuild);
  path.append("-")
      .append_decimal(local_time.tm_year + 1900, 4)
      .append_decimal(local_time.tm_mon + 1, 2)
      .append_decimal(local_time.tm_mday, 2);
  path.append("-")
      .append_decimal(local_time.tm_hour, 2)
      .append_decimal(local_time.tm_min, 2)
      .append_decimal(local_time.tm_sec, 2);
  path.append("-").append_decimal(process_id).append("-").append_decimal(thread_id).append(".dmp");
}

}  // namespace crash

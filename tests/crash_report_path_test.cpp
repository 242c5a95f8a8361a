#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <vector>

#include "crash/crash_message.h"
#include "crash/crash_report_path.h"

namespace {

struct NameCase {
  int year, month, day, hour, minute, second;
  long process, thread;
  const char* name;
};

std::tm local_time(const NameCase& c) {
  std::tm time{};
  time.tm_year = c.year - 1900;
  time.tm_mon = c.month - 1;
  time.tm_mday = c.day;
  time.tm_hour = c.hour;
  time.tm_min = c.minute;
  time.tm_sec = c.second;
  return time;
}

TEST(CrashReportPath, TheFileNameCarriesProductTagLocalTimeProcessAndThread) {
  const std::vector<NameCase> cases = {
      {2024, 1, 31, 23, 59, 59, 4321, 8765, "Lunaform_v1.0.66-20240131-235959-4321-8765.dmp"},
      // Single digits are padded to two, the year to four; ids are not padded.
      {2001, 2, 3, 4, 5, 6, 7, 12, "Lunaform_v1.0.66-20010203-040506-7-12.dmp"},
      {999, 12, 1, 0, 0, 0, 4194304, 4194303,
       "Lunaform_v1.0.66-09991201-000000-4194304-4194303.dmp"},
  };
  for (const NameCase& c : cases) {
    crash::PathText name;
    crash::append_dump_file_name(name, local_time(c), c.process, c.thread);
    EXPECT_EQ(name.view(), c.name);
  }
}

TEST(CrashReportPath, ReportsGoToTheErrorLogsOfTheMakersFolder) {
  const std::vector<std::pair<const char*, const char*>> cases = {
      {"/home/ada/Documents", "/home/ada/Documents/Brightmoor/Error Logs"},
      {"/tmp/", "/tmp/Brightmoor/Error Logs"},
      {"/", "/Brightmoor/Error Logs"},
  };
  for (const auto& [base, folder] : cases) {
    crash::PathText path;
    crash::append_report_folder(path, base);
    EXPECT_EQ(path.view(), folder);
    EXPECT_FALSE(path.truncated());
  }
}

TEST(CrashReportPath, APathTooLongForTheSystemIsMarkedCut) {
  const std::string base(crash::kPathCapacity - 10, 'a');
  crash::PathText path;
  crash::append_report_folder(path, "/" + base);
  EXPECT_TRUE(path.truncated());
  EXPECT_EQ(path.view().size(), crash::kPathCapacity);
  EXPECT_EQ(path.view(), ("/" + base + "/Brightmoor/Error Logs").substr(0, crash::kPathCapacity));
}

TEST(CrashReportPath, TheMessageAsksToSendTheReportToSupport) {
  crash::MessageText message;
  crash::append_crash_message(message, "/home/ada/Documents/Brightmoor/Error Logs/x.dmp");
  EXPECT_EQ(message.view(),
            "Please compress the following file and contact support "
            "(support@brightmoor.invalid):\n\n/home/ada/Documents/Brightmoor/Error Logs/x.dmp");
}

}  // namespace

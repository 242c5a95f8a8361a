#pragma once

#include <unistd.h>

#include <fstream>

// This process's resident memory in MB, from /proc/self/statm.
inline double resident_mb() {
  long total_pages = 0;
  long resident_pages = 0;
  std::ifstream("/proc/self/statm") >> total_pages >> resident_pages;
  return static_cast<double>(resident_pages) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
}

#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "SPBasic.h"

namespace lunaform::host {

// The suite manager's answer for a suite it does not have ('S!Fd').
constexpr SPErr kSuiteNotFoundError = 0x53214664;

// How often one (name, version) suite was asked for and given back.
struct SuiteUse {
  std::string name;
  int version = 0;
  int acquired = 0;  // successful AcquireSuite calls
  int refused = 0;   // AcquireSuite calls for a suite the host does not provide
  int released = 0;  // ReleaseSuite calls
};

// The suites the host offers by name and version, behind the basic suite that a module finds
// in its in-data. Every acquire and release is counted per (name, version), so a test sees
// whether a module gave back everything it took. Later work plugs in suites with provide().
// One thread at a time (the host's command thread).
class SuiteRegistry {
 public:
  // Offers `suite` (a function table owned by the caller, which must outlive the registry)
  // under `name` and `version`; replaces an earlier table for the same pair.
  void provide(std::string name, int version, const void* suite);

  // The basic suite's AcquireSuite: stores the table in *suite and returns kSPNoError, or
  // stores null and returns kSuiteNotFoundError for a suite that is not provided.
  SPErr acquire(const char* name, int version, const void** suite);
  // The basic suite's ReleaseSuite: kSPNoError, or kSuiteNotFoundError when the suite has no
  // outstanding acquire (the call is counted either way).
  SPErr release(const char* name, int version);

  // Counts for one suite (all zero if it was never asked for).
  SuiteUse use(const std::string& name, int version) const;
  // Every suite asked for so far, ordered by name and version.
  std::vector<SuiteUse> uses() const;
  // Suites acquired more often than released: "AEGP Utility Suite v10: 2 acquired, 1 released".
  std::vector<std::string> unreleased() const;
  // Forgets all counts (the provided suites stay).
  void reset_counts();

 private:
  using Key = std::pair<std::string, int>;
  std::map<Key, const void*> suites_;
  std::map<Key, SuiteUse> uses_;
};

}  // namespace lunaform::host

#include "host/suite_registry.h"

namespace lunaform::host {

void SuiteRegistry::provide(std::string name, int version, const void* suite) {
  suites_[{std::move(name), version}] = suite;
}

SPErr SuiteRegistry::acquire(const char* name, int version, const void** suite) {
  if (name == nullptr || suite == nullptr) {
    return kSuiteNotFoundError;
  }
  Key key{name, version};
  SuiteUse& use = uses_.try_emplace(key, SuiteUse{name, version}).first->second;
  const auto found = suites_.find(key);
  if (found == suites_.end()) {
    ++use.refused;
    *suite = nullptr;
    return kSuiteNotFoundError;
  }
  ++use.acquired;
  *suite = found->second;
  return kSPNoError;
}

SPErr SuiteRegistry::release(const char* name, int version) {
  if (name == nullptr) {
    return kSuiteNotFoundError;
  }
  Key key{name, version};
  SuiteUse& use = uses_.try_emplace(key, SuiteUse{name, version}).first->second;
  ++use.released;
  return use.released <= use.acquired ? kSPNoError : kSuiteNotFoundError;
}

SuiteUse SuiteRegistry::use(const std::string& name, int version) const {
  const auto found = uses_.find({name, version});
  return found != uses_.end() ? found->second : SuiteUse{name, version};
}

std::vector<SuiteUse> SuiteRegistry::uses() const {
  std::vector<SuiteUse> all;
  for (const auto& [key, use] : uses_) {
    all.push_back(use);
  }
  return all;
}

std::vector<std::string> SuiteRegistry::unreleased() const {
  std::vector<std::string> lines;
  for (const auto& [key, use] : uses_) {
    if (use.acquired > use.released) {
      lines.push_back(use.name + " v" + std::to_string(use.version) + ": " +
                      std::to_string(use.acquired) + " acquired, " + std::to_string(use.released) +
                      " released");
    }
  }
  return lines;
}

void SuiteRegistry::reset_counts() {
  uses_.clear();
}

}  // namespace lunaform::host

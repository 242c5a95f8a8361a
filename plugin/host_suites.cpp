#include "plugin/host_suites.h"

#include <string>

#include "plugin/hx_exception.h"
#include "plugin/product_info.h"

HostSuites::HostSuites(const PF_InData& in_data) : basic_(in_data.pica_basicP) {}

HostSuites::~HostSuites() {
  for (std::size_t slot = 0; slot < slots_.size(); ++slot) {
    if (slots_[slot] != nullptr) {
      const HostSuiteKey& key = ModuleHostSuites::keys[slot];
      basic_->ReleaseSuite(key.name, key.version);
    }
  }
}

const void* HostSuites::acquire(std::size_t slot) {
  if (slots_[slot] == nullptr && basic_ != nullptr) {
    const HostSuiteKey& key = ModuleHostSuites::keys[slot];
    // The result is not looked at: a suite the host cannot supply leaves the slot null.
    basic_->AcquireSuite(key.name, key.version, &slots_[slot]);
  }
  return slots_[slot];
}

const void* HostSuites::require(std::size_t slot) {
  const void* suite = acquire(slot);
  if (suite == nullptr) {
    const HostSuiteKey& key = ModuleHostSuites::keys[slot];
    throw hx_exception(std::string(product::kName) + " needs the host's \"" + key.name +
                       "\" version " + std::to_string(key.version) +
                       ", which this host does not offer.");
  }
  return suite;
}

void require_host(A_Err error, const char* function) {
  if (error != A_Err_NONE) {
    throw hx_exception(std::string("The host answered ") + function + " with error " +
                       std::to_string(error) + ".");
  }
}

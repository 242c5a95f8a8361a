#pragma once

#include <stdexcept>

namespace lunaform::host {

// Every failure the host library reports: a module that cannot be read or loaded, a corrupt
// PiPL, an impossible request. The message is one complete line meant for the user.
class HostError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace lunaform::host

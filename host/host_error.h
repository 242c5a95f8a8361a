#pragma once

#include <stdexcept>
#include <utility>

namespace lunaform::host {

// Every failure the host library reports: a module that cannot be read or loaded, a corrupt
// PiPL, an impossible request. The message is one complete line meant for the user.
class HostError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A HostError in what the user gave (a command line, a scene file, a scene value the module's
// parameters refuse): running the same request again cannot mend it.
class InputError : public HostError {
 public:
  using HostError::HostError;
};

// A HostError for memory that ran out (a module's PF_Err_OUT_OF_MEMORY): a caller that knows
// what the render asked for can say how to ask for less.
class OutOfMemoryError : public HostError {
 public:
  using HostError::HostError;
};

// Runs `read`, which reads what the user gave: every HostError it throws is the input's fault.
template <typename Read>
auto as_input(Read&& read) {
  try {
    return std::forward<Read>(read)();
  } catch (const InputError&) {
    throw;
  } catch (const HostError& problem) {
    throw InputError(problem.what());
  }
}

}  // namespace lunaform::host

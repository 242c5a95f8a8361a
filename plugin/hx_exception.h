#pragma once

#include <exception>
#include <string>
#include <utility>

// The module's own exception: carries a message meant for the user, shown by the
// entry point's error popup.
class hx_exception : public std::exception {
 public:
  explicit hx_exception(std::string message) : message_(std::move(message)) {}
  const char* what() const noexcept override { return message_.c_str(); }

 private:
  std::string message_;
};

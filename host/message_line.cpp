#include "host/message_line.h"

namespace lunaform::host {

std::string one_line(std::string text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) {
    text.pop_back();
  }
  std::string line;
  for (const char c : text) {
    if (c == '\n') {
      line += "; ";
    } else {
      line += c;
    }
  }
  return line.empty() ? "unknown error" : line;
}

}  // namespace lunaform::host

// Numbers in messages.
#pragma once

#include <charconv>
#include <string>

namespace Brin {

// The shortest text that reads back as `value`.
inline std::string shortest(float value) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

}  // namespace Brin

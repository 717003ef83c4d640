// Numbers in text files: the fewest digits that read back as the same number, without an exponent.
#pragma once

#include <array>
#include <charconv>
#include <string>

namespace Brin::io {

// For finite numbers; a double takes up to 1,077 characters without an exponent.
template <typename Number>
std::string shortText(Number value) {
  std::array<char, 1100> text;
  const std::to_chars_result end =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
  return {text.data(), end.ptr};
}

}  // namespace Brin::io

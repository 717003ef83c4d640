#include "tools/serve/base64.hpp"

#include <cstdint>

namespace korrin_tool::serve {

std::string base64(const std::string& bytes) {
  constexpr const char* kLetters =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const auto byteAt = [&](std::size_t i) {
    return i < bytes.size() ? std::uint32_t{static_cast<std::uint8_t>(bytes[i])} : 0u;
  };
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::uint32_t three = byteAt(i) << 16 | byteAt(i + 1) << 8 | byteAt(i + 2);
    for (unsigned int k = 0; k < 4; ++k) {
      text += i + k > bytes.size() ? '=' : kLetters[three >> (18 - 6 * k) & 63];
    }
  }
  return text;
}

}  // namespace korrin_tool::serve

// Bytes as text.
#pragma once

#include <string>

namespace korrin_tool::serve {

// In the alphabet of RFC 4648, section 4, with padding.
std::string base64(const std::string& bytes);

}  // namespace korrin_tool::serve

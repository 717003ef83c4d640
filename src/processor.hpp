// What the processor at hand can do beyond what every build relies on.
#pragma once

namespace Brin {

#ifdef __SSE2__
inline bool hasAvx2() {
  static const bool has = __builtin_cpu_supports("avx2") != 0;
  return has;
}
#endif

}  // namespace Brin

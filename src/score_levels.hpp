// What a pixel adds to a score in 255 levels, rounded up, and what sums of levels say of sums of
// floats.
//
//   const ScoreLevels levels(most);                            // the most that a pixel adds
//   std::int64_t sum = levels.of(a) + levels.of(b) + ...;      // of n points
//   levels.sumUpTo(sum, n) >= a + b + ...                      // added up in float, in any order
//
// Why that holds. Let a_1 ... a_n be what the points add, none of them negative, q_i their levels,
// Q the sum of these, and u one level. Then a_i <= q_i * u, and the true sum is at most Q * u. The
// float sum starts at 0, and each addition rounds to nearest: fl(s + a) <= (s + a) * (1 + 2^-24);
// among the denormals sums are exact. All is positive, so the factors multiply, and the float sum
// is at most Q * u * (1 + 2^-24)^n, in whatever order; and (1 + x)^n <= exp(n * x). The product is
// made in double. It rounds some six times, each within 2^-52, and u as well as the levels are
// rounded in double before; the factor 1 + 10^-12 is above all of that together. In the end it is
// rounded up to a float.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace Brin {

class ScoreLevels {
 public:
  static constexpr int kHighest = 255;

  // Where the most is infinite, whatever adds something is of the highest level, and nothing is
  // known of sums but that those of level 0 are 0.
  explicit ScoreLevels(float most)
      : unit_(static_cast<double>(most) / kHighest),
        perUnit_(kHighest / static_cast<double>(most)) {}

  // Of at most the most; 0 only where nothing is added.
  std::uint8_t of(float addend) const {
    if (!(addend > 0.0f)) return 0;
    const double level = std::ceil(static_cast<double>(addend) * perUnit_);
    const bool isBelow = perUnit_ > 0.0 && level < kHighest;
    return static_cast<std::uint8_t>(isBelow ? static_cast<int>(level) : kHighest);
  }

  // No float sum of `count` addends whose levels add up to `levels` is above this.
  float sumUpTo(std::int64_t levels, std::size_t count) const {
    if (levels <= 0) return 0.0f;
    constexpr double kRounding = 5.960464477539063e-8;  // 2^-24
    constexpr double kOwnRounding = 1.0 + 1e-12;
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const double bound = static_cast<double>(levels) * unit_ * kOwnRounding *
                         std::exp(static_cast<double>(count) * kRounding);
    if (!(bound < static_cast<double>(std::numeric_limits<float>::max()))) return kInfinity;
    return std::nextafter(static_cast<float>(bound), kInfinity);
  }

 private:
  double unit_;
  double perUnit_;
};

}  // namespace Brin

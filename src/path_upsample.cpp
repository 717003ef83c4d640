#include "korrin/path_upsample.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "src/cell_line.hpp"

namespace Brin {
namespace {

// How many cells the line from `a` has before it reaches `b`.
std::uint64_t segmentLength(const Pose2Di& a, const Pose2Di& b) {
  const std::int64_t dx = std::abs(std::int64_t{b.x} - a.x);
  const std::int64_t dy = std::abs(std::int64_t{b.y} - a.y);
  return static_cast<std::uint64_t>(std::max(dx, dy));
}

// The cells of the whole path, at most `limit`.
std::uint64_t pathLength(const std::vector<Pose2Di>& path, std::uint64_t limit) {
  std::uint64_t cells = 1;
  for (std::size_t i = 0; i + 1 < path.size() && cells < limit; ++i) {
    cells += segmentLength(path[i], path[i + 1]);
  }
  return std::min(cells, limit);
}

void appendSegment(const Pose2Di& a, const Pose2Di& b, std::vector<Pose2Di>& out) {
  for (CellLine line(a.x, a.y, b.x, b.y); !line.done(); line.next()) {
    out.emplace_back(line.x(), line.y(), 0.0f);
  }
}

}  // namespace

void pathUpSample(const std::vector<Pose2Di>& in, std::vector<Pose2Di>& out) {
  if (&in == &out) {
    const std::vector<Pose2Di> copy(in);
    return pathUpSample(copy, out);
  }
  out.clear();
  // Cells come from pairs: a single one gives none. This is intended.
  if (in.size() < 2) return;
  // Beyond what a vector can hold, one too many makes the reservation fail as the vector does.
  const std::uint64_t tooMany = std::uint64_t{out.max_size()} + 1;
  out.reserve(static_cast<std::size_t>(pathLength(in, tooMany)));
  for (std::size_t i = 0; i + 1 < in.size(); ++i) appendSegment(in[i], in[i + 1], out);
  out.emplace_back(in.back().x, in.back().y, 0.0f);
}

}  // namespace Brin

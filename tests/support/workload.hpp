// One small run through every family of the library, the same on every machine and in every
// language: what it gives is a sequence of 32-bit words that can be compared bit for bit.
//
//   const World world = makeWorld(160, 120, 361);
//   for (const Family& family : families()) {
//     Words words;
//     family.run(world, words);
//     std::uint64_t digest = digestOf(words);
//   }
//
// Words. An integer is its own two's complement, a float its IEEE 754 bits, any not-a-number
// 0x7fc00000. An image gives its width, its height, and its pixels row by row; a sequence its size
// and its elements; a record its fields in the order of the headers. digestOf is FNV-1a, 64 bits,
// over the words' bytes, the lowest byte of each word first.
//
// Inputs. They are whole numbers from one generator (WorldRandom), divided by powers of two where a
// fraction is wanted, so that they are the same whatever arithmetic makes them. workload.cpp draws
// them in makeWorld, in an order that is part of the definition.
#pragma once

#include <opencv2/core/types_c.h>

#include <cstdint>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/core/scan.hpp"

namespace korrin_test {

// splitmix64 (Steele, Lea and Flood 2014), started at 20261121.
class WorldRandom {
 public:
  // A whole number from `low` to `high`: low + (upper 32 bits) mod (high - low + 1).
  int between(int low, int high);

 private:
  std::uint64_t state_ = 20261121;
};

// What all families work on; none of them writes to it.
struct World {
  Brin::OccupancyMap map;     // 0.05 m a cell, with a second image, its origin not turned
  Brin::OccupancyMap turned;  // the same cells elsewhere, turned by 0.75 radians
  Brin::Scan scan;            // walls, jumps, runs without a hit; the beams 1 / 64 radian apart
  std::vector<Brin::Pose2Di> cells;   // on and around the map
  std::vector<Brin::Pose2D> poses;    // on and around the map, in metres of the world
  std::vector<Brin::Pose2D> path;     // a winding one, each pose near the one before
  std::vector<Brin::Point2D> points;  // within 4 m of (0, 0)
};

World makeWorld(int columns, int rows, int beams);

class Words {
 public:
  void add(std::int32_t value) { words_.push_back(static_cast<std::uint32_t>(value)); }
  void add(bool value) { add(value ? 1 : 0); }
  void add(float value);
  void add(const Brin::Point2D& point);
  void add(const Brin::Point2Di& point);
  void add(const Brin::Pose2D& pose);
  void add(const Brin::Pose2Di& pose);
  void add(const Brin::RangeReading& reading);
  void add(const IplImage& image);  // 8-bit or float, one channel
  template <typename T>
  void add(const std::vector<T>& sequence) {
    add(static_cast<std::int32_t>(sequence.size()));
    for (const T& element : sequence) add(element);
  }

  const std::vector<std::uint32_t>& all() const { return words_; }

 private:
  std::vector<std::uint32_t> words_;
};

std::uint64_t digestOf(const Words& words);

// Whose arithmetic a family's last bits are.
enum class Arithmetic {
  Own,      // the library's: the same everywhere
  Borrowed  // of sines, exponentials and OpenCV's images: near each other everywhere
};

struct Family {
  const char* name;
  Arithmetic arithmetic;
  bool isThreadSafe;  // path finders share state across the process
  void (*run)(const World& world, Words& words);
};

const std::vector<Family>& families();

}  // namespace korrin_test

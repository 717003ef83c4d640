// Turns the bytes that a fuzzer proposes into maps, poses, readings and paths. Values that break
// code (not-a-number, infinities, denormals, huge numbers, cells outside) come up often. Bytes that
// have run out read as 0, so every input means something.
//
//   FuzzInput in(data, size);
//   Brin::OccupancyMap map = in.map(24);       // 0 x 0 to 24 x 24 cells
//   const Brin::Pose2D pose = in.pose(map);    // mostly on or around it
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <vector>

#include "korrin/core/occupancy_map.hpp"
#include "korrin/core/scan.hpp"

namespace korrin_fuzz {

class FuzzInput {
 public:
  FuzzInput(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  std::uint8_t byte() {
    if (size_ == 0) return 0;
    --size_;
    return *data_++;
  }

  bool flag() { return (byte() & 1) != 0; }

  // True for `share` of the 256 bytes, the highest ones.
  bool rarely(int share) { return byte() >= 256 - share; }

  // Both ends included; at most 256 different values.
  int between(int low, int high) { return low + byte() % (high - low + 1); }

  template <typename T>
  T pick(std::initializer_list<T> values) {
    return *(values.begin() + byte() % values.size());
  }

  // A number around 0, an extreme one or any at all.
  std::int32_t anyInt() {
    using Limits = std::numeric_limits<std::int32_t>;
    const std::uint8_t kind = byte();
    if (kind < 192) return between(-20, 44);
    if (kind < 208) return raw<std::int32_t>();
    return pick({Limits::min(), Limits::max(), Limits::min() + 1, -(1 << 28), 1 << 28, 1 << 16});
  }

  // Any float at all.
  float anyFloat() {
    using Limits = std::numeric_limits<float>;
    const std::uint8_t kind = byte();
    if (kind < 160) return ordinaryFloat();
    if (kind < 176) return raw<float>();
    return pick({0.0f, -0.0f, 1.0f, -1.0f, 0.5f, Limits::denorm_min(), -Limits::min(), 1e-30f, 1e5f,
                 -1e9f, 2147483648.0f, 1e30f, -1e30f, Limits::max(), Limits::infinity(),
                 -Limits::infinity(), Limits::quiet_NaN(), 1e-6f});
  }

  // In [-8, 8), every other one a multiple of 1/16, so that exact ties are common.
  float ordinaryFloat() {
    const std::uint8_t kind = byte();
    if (kind < 128) return static_cast<float>(between(-128, 127)) / 16.0f;
    return static_cast<float>(raw<std::int16_t>()) / 4096.0f;
  }

  // Mostly an ordinary float, one in eight any.
  float someFloat() { return rarely(32) ? anyFloat() : ordinaryFloat(); }

  // Mostly one of `values`, one in eight any float.
  float pickOrAny(std::initializer_list<float> values) {
    return rarely(32) ? anyFloat() : pick(values);
  }

  // A map with its cells, up to `maxSide` in each direction; the second image's too, if it has one.
  Brin::OccupancyMap map(int maxSide) {
    const int width = between(0, maxSide);
    const int height = between(0, maxSide);
    const float resolution = pickOrAny({1.0f, 0.5f, 0.25f, 0.1f, 0.05f, 0.3f});
    Brin::OccupancyMap map(width, height, resolution, flag());
    if (flag()) map.params.origin = {someFloat(), someFloat(), someFloat()};
    const Pattern pattern = cellPattern();
    std::size_t next = 0;
    for (IplImage* image : {map.image, map.secondImage}) {
      if (image != nullptr) fill(*image, pattern, next);
    }
    return map;
  }

  // Mostly a place on or around the map, a quarter of a cell exact; one in eight any pose.
  Brin::Pose2D pose(const Brin::OccupancyMap& map) {
    if (rarely(32)) return wildPose();
    const float quarter = 0.25f * map.params.resolution;
    const float x = static_cast<float>(between(-12, 4 * map.params.width + 8)) * quarter;
    const float y = static_cast<float>(between(-12, 4 * map.params.height + 8)) * quarter;
    return map.params.origin.absProject({x, y, ordinaryFloat()});
  }

  Brin::Pose2D wildPose() {
    const float x = anyFloat();
    const float y = anyFloat();
    return {x, y, anyFloat()};
  }

  // Mostly a cell on or around the map; one in eight any.
  Brin::Pose2Di cell(const Brin::OccupancyMap& map) {
    const bool wild = rarely(32);
    const std::int32_t x = wild ? anyInt() : between(-2, map.params.width + 1);
    const std::int32_t y = wild ? anyInt() : between(-2, map.params.height + 1);
    return {x, y, wild ? anyFloat() : ordinaryFloat()};
  }

  std::vector<Brin::RangeReading> readings(int maxCount) {
    std::vector<Brin::RangeReading> readings(static_cast<std::size_t>(between(0, maxCount)));
    for (Brin::RangeReading& reading : readings) {
      const bool wild = rarely(24);
      reading.range = wild ? anyFloat() : static_cast<float>(byte()) / 16.0f;
      reading.angle = wild ? anyFloat() : ordinaryFloat();
      reading.weight = wild ? anyFloat() : 1.0f;
      reading.status = pick<std::int32_t>({0, 0, 1, 2, -1, 1});
    }
    return readings;
  }

  std::vector<Brin::Pose2D> path(const Brin::OccupancyMap& map, int maxCount) {
    std::vector<Brin::Pose2D> poses(static_cast<std::size_t>(between(0, maxCount)));
    for (Brin::Pose2D& one : poses) one = pose(map);
    return poses;
  }

 private:
  using Pattern = std::vector<float>;

  // The values of the first cells; a map repeats them, so that few bytes make a large map.
  Pattern cellPattern() {
    const bool wild = rarely(64);
    const std::size_t count = std::min<std::size_t>(byte(), size_);
    Pattern pattern(std::max<std::size_t>(count, 1), 1.0f);
    for (std::size_t i = 0; i < count; ++i) {
      pattern[i] = wild && rarely(64) ? anyFloat()
                                      : pick({1.0f, 1.0f, 0.0f, 0.5f, 0.2f, 0.44f, 0.45f, 0.8f});
    }
    return pattern;
  }

  static void fill(IplImage& image, const Pattern& pattern, std::size_t& next) {
    for (int y = 0; y < image.height; ++y) {
      auto* row = reinterpret_cast<float*>(image.imageData + std::ptrdiff_t{y} * image.widthStep);
      for (int x = 0; x < image.width; ++x) row[x] = pattern[next++ % pattern.size()];
    }
  }

  template <typename T>
  T raw() {
    std::uint8_t bytes[sizeof(T)];
    for (std::uint8_t& b : bytes) b = byte();
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
  }

  const std::uint8_t* data_;
  std::size_t size_;
};

}  // namespace korrin_fuzz

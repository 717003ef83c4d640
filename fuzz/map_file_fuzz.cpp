// Reads bytes as a map file: the YAML text, a byte 0, and the picture. Whatever is read can be
// written, and comes back.
#include <algorithm>

#include "fuzz/fuzz_target.hpp"
#include "korrin/io/map_file.hpp"
#include "tests/support/files.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::io::MapFileFormat;
using Brin::io::MapMode;
using korrin_fuzz::Mark;
using korrin_fuzz::require;

const Mark kRead("a map");
const Mark kScale("a map of mode scale");
const Mark kRaw("a map of mode raw");
const Mark kTurned("a turned map");
const Mark kRefused("a fault");
const Mark kBadPicture("a file that is no picture");

void requireSound(const OccupancyMap& map) {
  require(map.params.width > 0 && map.params.height > 0, "size");
  require(std::isnormal(map.params.resolution) && map.params.resolution > 0.0f, "resolution");
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) {
      require(map.getCell(x, y) >= 0.0f && map.getCell(x, y) <= 1.0f, "cell");
    }
  }
}

// Writes the map and reads it again.
OccupancyMap returned(const OccupancyMap& map, MapFileFormat format, const std::string& path) {
  format.image.clear();
  Brin::io::writeMapFile(map, path, format);
  return Brin::io::readMapFile(path);
}

void readAndReturn(const korrin_test::TemporaryDirectory& directory) {
  MapFileFormat format;
  const OccupancyMap map = Brin::io::readMapFile(directory / "map.yaml", &format);
  requireSound(map);
  const OccupancyMap once = returned(map, format, directory / "once.yaml");
  require(korrin_test::sameParams(map.params, once.params), "geometry");
  // Pictures can hold finer values than the grey levels that are written.
  require(korrin_test::sameMap(once, returned(once, format, directory / "twice.yaml")), "cells");
  kRead.count(true);
  kScale.count(format.mode == MapMode::Scale);
  kRaw.count(format.mode == MapMode::Raw);
  kTurned.count(map.params.origin.theta != 0.0f);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const korrin_test::TemporaryDirectory directory;
  const std::string bytes(data, data + size);
  const std::size_t end = std::min(bytes.find('\0'), bytes.size());
  const std::string picture = end < bytes.size() ? bytes.substr(end + 1) : "";
  // The kinds that a map file has; the other decoders of OpenCV are not ours to test.
  const bool isPicture = picture.substr(0, 1) == "P" || picture.substr(0, 4) == "\x89PNG";
  kBadPicture.count(!isPicture);
  korrin_test::writeFile(directory / "map.yaml", bytes.substr(0, end));
  korrin_test::writeFile(directory / "m", isPicture ? picture : "");
  try {
    readAndReturn(directory);
  } catch (const Brin::io::FileError&) {
    kRefused.count(true);
  }
  return 0;
}

// Writes the maps that the YAML files on the command line hold to standard output, all as floats:
// width, height, resolution, origin (three numbers), and the cells row by row.
#include <array>
#include <iostream>

#include "korrin/io/map_file.hpp"

namespace {

void write(const float* values, int count) {
  std::cout.write(reinterpret_cast<const char*>(values),
                  static_cast<std::streamsize>(sizeof(float)) * count);
}

}  // namespace

int main(int count, char** files) {
  for (int i = 1; i < count; ++i) {
    const Brin::OccupancyMap map = Brin::io::readMapFile(files[i]);
    const Brin::OccupancyMapParams& params = map.params;
    const std::array<float, 6> head{static_cast<float>(params.width),
                                    static_cast<float>(params.height),
                                    params.resolution,
                                    params.origin.x,
                                    params.origin.y,
                                    params.origin.theta};
    write(head.data(), 6);
    for (int y = 0; y < params.height; ++y) {
      write(reinterpret_cast<const float*>(map.image->imageData +
                                           std::ptrdiff_t{y} * map.image->widthStep),
            params.width);
    }
  }
}

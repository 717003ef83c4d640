// All of libkorrin_io: the files people have. A program may as well include the headers it needs.
//
//   #include <korrin/io/io.hpp>
//
//   Brin::OccupancyMap map = Brin::io::readMapFile("office.yaml");     // io/map_file.hpp
//   Brin::io::LaserLog log = Brin::io::readLaserLog("office.log.gz");  // io/laser_log.hpp
//   std::vector<Brin::Pose2D> path = Brin::io::readPathFile("way.csv");  // io/path_file.hpp
#pragma once

#include "korrin/io/file_error.hpp"
#include "korrin/io/laser_log.hpp"
#include "korrin/io/map_file.hpp"
#include "korrin/io/path_file.hpp"

// All of libkorrin_mapping: from a raw log to a map. A program may as well include the headers it
// needs.
//
//   #include <korrin/mapping/mapping.hpp>
//
//   auto frame = Brin::mapping::gridAround(log.scans, 0.05f);         // mapping/grid_builder.hpp
//   Brin::OccupancyMap map = Brin::mapping::buildGrid(log.scans, *frame);
//   Brin::mapping::PoseGraph graph = Brin::mapping::readG2o("office.g2o");  // mapping/pose_graph.hpp
#pragma once

#include "korrin/mapping/grid_builder.hpp"
#include "korrin/mapping/pose_graph.hpp"
#include "korrin/mapping/progress.hpp"

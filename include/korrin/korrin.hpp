// All of libkorrin. A program may as well include the headers that it needs.
//
//   #include <korrin/korrin.hpp>
//
//   Brin::OccupancyMap map(200, 100, 0.05f, false);  // core/occupancy_map.hpp
//   Brin::OccMapPathFinder finder(&map, 0.0f);       // occmap_path_finder.hpp
#pragma once

#include "korrin/batch_scoring.hpp"
#include "korrin/core/geometry.hpp"
#include "korrin/core/image.hpp"
#include "korrin/core/log.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/core/path_simplifier.hpp"
#include "korrin/core/scan.hpp"
#include "korrin/map_image_utils.hpp"
#include "korrin/obstacle_dilater.hpp"
#include "korrin/occmap_path_finder.hpp"
#include "korrin/occupancy_mapper.hpp"
#include "korrin/occupancymap_utils.hpp"
#include "korrin/path_planner.hpp"
#include "korrin/path_upsample.hpp"
#include "korrin/pathcoststats.hpp"
#include "korrin/pose_search.hpp"
#include "korrin/prepared_map.hpp"
#include "korrin/range_simulation.hpp"
#include "korrin/safepathsimplifier.hpp"
#include "korrin/scan_holes.hpp"
#include "korrin/scan_matching.hpp"

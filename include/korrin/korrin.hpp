// All of libkorrin.
#pragma once

#include "korrin/core/geometry.hpp"
#include "korrin/core/image.hpp"
#include "korrin/core/log.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/core/path_simplifier.hpp"
#include "korrin/core/scan.hpp"
#include "korrin/scan_matching.hpp"
#include "korrin/map_image_utils.hpp"
#include "korrin/obstacle_dilater.hpp"
#include "korrin/occmap_path_finder.hpp"
#include "korrin/occupancy_mapper.hpp"
#include "korrin/occupancymap_utils.hpp"
#include "korrin/path_upsample.hpp"
#include "korrin/pathcoststats.hpp"
#include "korrin/range_simulation.hpp"
#include "korrin/safepathsimplifier.hpp"

// All of libkorrin_mapping: from a raw log to a map. A program may as well include the headers it
// needs.
//
//   #include <korrin/mapping/mapping.hpp>
//
//   auto aligned = Brin::mapping::alignLog(scans);                   // mapping/log_alignment.hpp
//   auto frame = Brin::mapping::gridAround(aligned.scans, 0.05f);    // mapping/grid_builder.hpp
//   Brin::OccupancyMap map = Brin::mapping::buildGrid(aligned.scans, *frame);
//   Brin::mapping::writeTrack(aligned.scans, "office.tum");          // mapping/track_file.hpp
//   writeG2o(graphOf(aligned), "office.g2o");                        // mapping/pose_graph.hpp
//   Brin::mapping::ScanAligner aligner;                              // mapping/scan_aligner.hpp
#pragma once

#include "korrin/mapping/grid_builder.hpp"
#include "korrin/mapping/log_alignment.hpp"
#include "korrin/mapping/pose_graph.hpp"
#include "korrin/mapping/progress.hpp"
#include "korrin/mapping/scan_aligner.hpp"
#include "korrin/mapping/track_file.hpp"

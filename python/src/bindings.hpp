// The parts of the module, one for each family of headers.
#pragma once

#include <pybind11/pybind11.h>

#include "python/src/casters.hpp"

namespace korrin_python {

void bindGeometry(pybind11::module_& module);
void bindOccupancyMap(pybind11::module_& module);
void bindScan(pybind11::module_& module);
void bindPathFinder(pybind11::module_& module);
void bindPlan(pybind11::module_& module);
void bindPathPlanner(pybind11::module_& module);
void bindPaths(pybind11::module_& module);
void bindMapBuilding(pybind11::module_& module);
void bindPreparedMap(pybind11::module_& module);
void bindMapProcessing(pybind11::module_& module);
void bindMapQueries(pybind11::module_& module);
void bindScanHoles(pybind11::module_& module);
void bindScanMatching(pybind11::module_& module);
void bindPoseSearch(pybind11::module_& module);
void bindFiles(pybind11::module_& module);
void bindPoseGraph(pybind11::module_& module);
void bindMapping(pybind11::module_& module);

}  // namespace korrin_python

// The extension module korrin._korrin; the package korrin shows its names.
#include <pybind11/pybind11.h>

#include <exception>
#include <opencv2/core.hpp>

#include "python/src/bindings.hpp"
#include "python/src/calls.hpp"
#include "python/src/log.hpp"

namespace {

// OpenCV's errors are about arguments, but for memory that ran out.
void translate(std::exception_ptr failure) {
  try {
    if (failure) std::rethrow_exception(failure);
  } catch (const cv::Exception& error) {
    PyErr_SetString(error.code == cv::Error::StsNoMem ? PyExc_MemoryError : PyExc_ValueError,
                    (error.func + ": " + error.err).c_str());
  }
}

}  // namespace

PYBIND11_MODULE(_korrin, module) {
  module.attr("__version__") = KORRIN_VERSION;
  pybind11::register_exception_translator(&translate);
  korrin_python::bindLog(module);
  korrin_python::bindGeometry(module);
  korrin_python::bindScan(module);
  korrin_python::bindOccupancyMap(module);
  korrin_python::bindPathFinder(module);
  korrin_python::bindPlan(module);
  korrin_python::bindPathPlanner(module);
  korrin_python::bindPaths(module);
  korrin_python::bindMapBuilding(module);
  korrin_python::bindPreparedMap(module);
  korrin_python::bindMapProcessing(module);
  korrin_python::bindMapQueries(module);
  korrin_python::bindScanHoles(module);
  korrin_python::bindScanMatching(module);
  korrin_python::bindPoseSearch(module);
  korrin_python::bindFiles(module);
  korrin_python::bindPoseGraph(module);
  korrin_python::bindMapping(module);
  korrin_python::explainCalls(module);
}

// The same queries to this library and to others, in one process and one thread.
#include <benchmark/benchmark.h>
#include <ompl/util/Console.h>
#include <ompl/util/RandomNumbers.h>

#include <opencv2/core/utility.hpp>

#include "korrin/core/log.hpp"
#include "peers/queries.hpp"

int main(int argc, char** argv) {
  cv::setNumThreads(1);
  ompl::msg::setLogLevel(ompl::msg::LOG_ERROR);
  ompl::RNG::setSeed(1);
  Brin::setLogSink([](const Brin::LogRecord&) {});

  korrin_peers::registerScanQueries();
  korrin_peers::registerScoreQueries();
  korrin_peers::registerPlanQueries();
  korrin_peers::registerSimplifyQueries();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

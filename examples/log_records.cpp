// Sends the library's log records to a logger of the program's own.
#include <iostream>
#include <korrin/korrin.hpp>

// Called on the thread that reports, so a logger that is shared must allow several at once. A sink
// is a plain function: what it needs is found from there, as loggers are.
void toMyLogger(const Brin::LogRecord& record) {
  const char* level = "note";
  if (record.level == Brin::NavLogLevel::Warning) level = "warning";
  if (record.level == Brin::NavLogLevel::Error) level = "error";
  std::cout << level << " from " << record.function << ": " << record.message << '\n';
}

int main() {
  const Brin::LogSink before = Brin::setLogSink(toMyLogger);
  Brin::OccupancyMap map(20, 20, 0.1f, false);
  map.setCell(15, 15, 0.0f);
  Brin::OccMapPathFinder finder(&map, 0.0f);
  std::vector<Brin::Pose2D> path;
  finder.computePath(Brin::Pose2D(0.5f, 0.5f, 0.0f), Brin::Pose2D(1.5f, 1.5f, 0.0f), path);
  finder.setOccMap(nullptr);
  finder.computePath(Brin::Pose2D(0.5f, 0.5f, 0.0f), Brin::Pose2D(1.5f, 1.5f, 0.0f), path);
  Brin::setLogSink(before);
}

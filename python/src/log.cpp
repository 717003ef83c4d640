#include "python/src/log.hpp"

#include <exception>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "korrin/core/log.hpp"
#include "python/src/values.hpp"

namespace korrin_python {
namespace {

namespace py = pybind11;

// The receiver set by set_log_sink, None for the logging module. Never destroyed, since that would
// come after the interpreter's end.
py::object& receiver() {
  static auto* object = new py::object(py::none());
  return *object;
}

// A level without a name is a warning: it is heard by default, as C++'s own sink prints it.
int loggingLevel(Brin::NavLogLevel level) {
  constexpr int kLevelsOfLogging[] = {20, 30, 40};  // INFO, WARNING, ERROR
  const auto index = static_cast<std::int32_t>(level);
  return kLevelsOfLogging[index < 0 || index > 2 ? 1 : index];
}

void passToLogging(const Brin::LogRecord& record) {
  const py::object logger = py::module_::import("logging").attr("getLogger")("korrin");
  const int level = loggingLevel(record.level);
  if (!logger.attr("isEnabledFor")(level).cast<bool>()) return;
  logger.attr("handle")(logger.attr("makeRecord")("korrin", level, record.file, record.line,
                                                  record.message, py::tuple(), py::none(),
                                                  record.function));
}

void deliver(const Brin::LogRecord& record) {
  const py::object target = receiver();
  target.is_none() ? passToLogging(record) : static_cast<void>(target(record));
}

// Where this thread's records wait during unlocked work; null outside of it.
thread_local std::vector<Brin::LogRecord>* waiting = nullptr;

void sink(const Brin::LogRecord& record) {
  if (waiting != nullptr) {
    waiting->push_back(record);
    return;
  }
  const py::gil_scoped_acquire lock;
  deliver(record);
}

std::mutex& finderMutex() {
  static std::mutex mutex;
  return mutex;
}

py::object setLogSink(const py::object& target) {
  if (!target.is_none() && PyCallable_Check(target.ptr()) == 0) {
    throw py::type_error("sink must be callable or None");
  }
  return std::exchange(receiver(), target);
}

constexpr const char* kLogRecordDoc = R"(One log record: what a receiver set by set_log_sink gets.

>>> records = []
>>> previous = korrin.set_log_sink(records.append)
>>> korrin.complete_log(korrin.NavLogLevel.Warning, "battery low", "src/robot", "drive", 12)
>>> previous = korrin.set_log_sink(previous)
>>> records[0].message, records[0].level.name, records[0].line
('battery low', 'Warning', 12)
)";

constexpr const char* kSetLogSinkDoc = R"(Sends all records of the library to `sink` and returns
the receiver before it. `sink` takes one LogRecord; None stands for the logging module, both ways:
there records go to the logger "korrin" with the component for their file.

A record reaches the receiver on the thread that called the library, when the call is over.

>>> previous = korrin.set_log_sink(lambda record: print(record.message))
>>> korrin.OccMapPathFinder(None, 0.0).compute_path((0, 0, 0), (1, 1, 0)).shape
occMap is null, there is no map to plan on.
(0, 3)
>>> previous = korrin.set_log_sink(previous)
)";

constexpr const char* kCompleteLogDoc = R"(Delivers one record to the receiver of all records.

>>> import logging
>>> logging.getLogger("korrin").setLevel(logging.ERROR)
>>> korrin.complete_log(korrin.NavLogLevel.Info, "not heard", "src/robot", "drive", 1)
>>> logging.getLogger("korrin").setLevel(logging.NOTSET)
)";

}  // namespace

void unlocked(const std::function<void()>& work) {
  std::vector<Brin::LogRecord> records;
  std::exception_ptr failure;
  {
    const py::gil_scoped_release release;
    waiting = &records;
    try {
      work();
    } catch (...) {
      failure = std::current_exception();
    }
    waiting = nullptr;
  }
  for (const Brin::LogRecord& record : records) deliver(record);
  if (failure) std::rethrow_exception(failure);
}

void unlockedAlone(const std::function<void()>& work) {
  unlocked([&work] {
    const std::lock_guard<std::mutex> lock(finderMutex());
    work();
  });
}

void bindLog(py::module_& module) {
  py::enum_<Brin::NavLogLevel> level(module, "NavLogLevel", R"(How grave a log record is.

>>> [level.name for level in korrin.NavLogLevel.__members__.values()]
['Info', 'Warning', 'Error']
)");
  picklesNumber(level);
  level.value("Info", Brin::NavLogLevel::Info)
      .value("Warning", Brin::NavLogLevel::Warning)
      .value("Error", Brin::NavLogLevel::Error);

  using Record = Brin::LogRecord;
  py::class_<Record> record(module, "LogRecord", kLogRecordDoc);
  record.def_readonly("level", &Record::level)
      .def_readonly("message", &Record::message)
      .def_readonly("file", &Record::file, "The component, such as src/occmap_path_finder")
      .def_readonly("function", &Record::function)
      .def_readonly("line", &Record::line, "Tells a function's records apart");
  actsAsRecord(record, Record(), Field{"level", &Record::level}, Field{"message", &Record::message},
               Field{"file", &Record::file}, Field{"function", &Record::function},
               Field{"line", &Record::line});

  module.def("set_log_sink", &setLogSink, py::arg("sink"), kSetLogSinkDoc);
  module.def("complete_log", &Brin::completeLog, py::arg("level"), py::arg("message"),
             py::arg("file"), py::arg("function"), py::arg("line"), kCompleteLogDoc);

  // Records of other threads must not look for an interpreter that is gone.
  Brin::setLogSink(&sink);
  module.attr("_unset_log_sink") = py::cpp_function([] { Brin::setLogSink(nullptr); });
  py::module_::import("atexit").attr("register")(module.attr("_unset_log_sink"));
}

}  // namespace korrin_python

#include "tools/serve/serve.hpp"

#include <pthread.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <iostream>
#include <optional>

#include "korrin/core/log.hpp"
#include "tools/progress_bar.hpp"
#include "tools/serve/gate.hpp"
#include "tools/serve/http_server.hpp"
#include "tools/serve/source.hpp"

extern char** environ;

namespace korrin_tool::serve {
namespace {

// While it lives, Ctrl-C and requests to end wait until somebody waits for them, in this thread and
// all that it starts.
class HeldSignals {
 public:
  HeldSignals() {
    sigemptyset(&ends_);
    sigaddset(&ends_, SIGINT);
    sigaddset(&ends_, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &ends_, &before_);
  }
  ~HeldSignals() { release(); }
  HeldSignals(const HeldSignals&) = delete;
  HeldSignals& operator=(const HeldSignals&) = delete;

  void wait() const {
    int which = 0;
    sigwait(&ends_, &which);
  }

  // From now on they end the program as ever.
  void release() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t ends_{};
  sigset_t before_{};
};

// While it lives, the library's remarks on requests go nowhere: answers tell what there is to tell.
class QuietLog {
 public:
  QuietLog() : before_(Brin::setLogSink([](const Brin::LogRecord&) {})) {}
  ~QuietLog() { Brin::setLogSink(before_); }
  QuietLog(const QuietLog&) = delete;
  QuietLog& operator=(const QuietLog&) = delete;

 private:
  Brin::LogSink before_;
};

Source openSource(const std::string& file) {
  if (file.empty()) return demoSource();
  if (isMapFile(file)) return mapSource(file);
  ProgressBar bar("match");
  return logSource(file, bar.progress());
}

void openBrowser(const std::string& address) {
  std::string program = "xdg-open";
  std::string page = address;
  char* arguments[] = {program.data(), page.data(), nullptr};
  pid_t child = 0;
  int status = 0;
  const bool isDone = posix_spawnp(&child, program.c_str(), nullptr, nullptr, arguments, environ) == 0 &&
                      waitpid(child, &status, 0) == child && WIFEXITED(status) &&
                      WEXITSTATUS(status) == 0;
  if (!isDone) std::cerr << "korrin: warning: no browser could be opened\n";
}

}  // namespace

void serve(const ServeOptions& options) {
  Application application(openSource(options.file));
  const QuietLog quiet;
  HeldSignals signals;  // before there are threads
  HttpServer server(application, options.host, options.port);
  if (!isLoopback(options.host)) {
    std::cerr << "korrin: warning: whoever reaches " << options.host
              << " can use this server; it asks for no password\n";
  }
  std::cout << server.address() << std::endl;
  if (options.opensBrowser) openBrowser(server.address());
  signals.wait();
  signals.release();
  server.stop();
}

}  // namespace korrin_tool::serve

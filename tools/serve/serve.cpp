#include "tools/serve/serve.hpp"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <system_error>

#include "korrin/core/log.hpp"
#include "tools/progress_bar.hpp"
#include "tools/serve/gate.hpp"
#include "tools/serve/http_server.hpp"
#include "tools/serve/source.hpp"

extern char** environ;

namespace korrin_tool::serve {
namespace {

// While it lives, Ctrl-C and requests to end are told to whoever waits for them, in whatever thread
// they arrive; the second of a kind ends the program as ever.
class EndSignals {
 public:
  EndSignals() {
    if (pipe2(pipe_, O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category());
    struct sigaction action {};
    action.sa_handler = [](int) {
      const char byte = 0;
      if (write(pipe_[1], &byte, 1) != 1) _exit(EXIT_FAILURE);
    };
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    sigaction(SIGINT, &action, &interruptBefore_);
    sigaction(SIGTERM, &action, &terminateBefore_);
  }
  ~EndSignals() {
    sigaction(SIGINT, &interruptBefore_, nullptr);
    sigaction(SIGTERM, &terminateBefore_, nullptr);
    for (const int end : pipe_) close(end);
  }
  EndSignals(const EndSignals&) = delete;
  EndSignals& operator=(const EndSignals&) = delete;

  void wait() const {
    char byte = 0;
    while (read(pipe_[0], &byte, 1) < 0 && errno == EINTR) {
    }
  }

 private:
  inline static int pipe_[2] = {-1, -1};  // handlers see nothing but what is the process's
  struct sigaction interruptBefore_ {};
  struct sigaction terminateBefore_ {};
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
  const bool isDone =
      posix_spawnp(&child, program.c_str(), nullptr, nullptr, arguments, environ) == 0 &&
      waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
  if (!isDone) std::cerr << "korrin: warning: no browser could be opened\n";
}

}  // namespace

void serve(const ServeOptions& options) {
  Application application(openSource(options.file));
  const QuietLog quiet;
  const EndSignals signals;
  HttpServer server(application, options.host, options.port);
  if (!isLoopback(options.host)) {
    std::cerr << "korrin: warning: whoever reaches " << options.host
              << " can use this server; it asks for no password\n";
  }
  std::cout << server.address() << std::endl;
  if (options.opensBrowser) openBrowser(server.address());
  signals.wait();
  server.stop();
}

}  // namespace korrin_tool::serve

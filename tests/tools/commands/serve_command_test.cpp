// korrin serve: what it says when it cannot begin, and how it begins and ends.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>

#include "tests/tools/serve/http_client.hpp"
#include "tests/tools/tool_run.hpp"

namespace korrin_test {
namespace {

using ::testing::HasSubstr;

// The program itself, in a process of its own.
class Program {
 public:
  explicit Program(std::vector<std::string> arguments) {
    int pipes[2];
    if (pipe(pipes) != 0) throw std::runtime_error("no pipe");
    child_ = fork();
    if (child_ == 0) {
      dup2(pipes[1], STDOUT_FILENO);
      close(pipes[0]);
      close(pipes[1]);
      std::vector<char*> words;
      arguments.insert(arguments.begin(), KORRIN_PROGRAM);
      for (std::string& argument : arguments) words.push_back(argument.data());
      words.push_back(nullptr);
      execv(KORRIN_PROGRAM, words.data());
      _exit(99);
    }
    close(pipes[1]);
    output_ = pipes[0];
  }
  ~Program() {
    if (child_ > 0) end(SIGKILL);
    close(output_);
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  std::string line() const {
    std::string text;
    for (char letter = 0; read(output_, &letter, 1) == 1 && letter != '\n';) text += letter;
    return text;
  }

  // Its status once it has ended by this signal.
  int end(int signal) {
    int status = 0;
    kill(child_, signal);
    waitpid(child_, &status, 0);
    child_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

 private:
  pid_t child_ = 0;
  int output_ = -1;
};

TEST(ServeCommand, PrintsItsAddressAnswersAndEndsCleanly) {
  for (const int signal : {SIGINT, SIGTERM}) {
    Program program({"serve", "--port", "0"});
    const std::string address = program.line();
    ASSERT_EQ(address.rfind("http://127.0.0.1:", 0), 0u) << address;
    const int port = std::stoi(address.substr(17));
    EXPECT_EQ(request(port, "GET", "/api/map").status, 200);
    EXPECT_EQ(program.end(signal), 0);
  }
}

TEST(ServeCommand, SaysInOneLineWhyItCannotBegin) {
  const TemporaryDirectory directory;
  const ToolRun missing = runTool({"serve", directory / "none.yaml", "--port", "0"});
  EXPECT_EQ(missing.status, 2);
  EXPECT_THAT(missing.errors, HasSubstr("none.yaml"));
  EXPECT_EQ(std::count(missing.errors.begin(), missing.errors.end(), '\n'), 1);
  writeFile(directory / "bad.yaml", "image: [\n");
  EXPECT_EQ(runTool({"serve", directory / "bad.yaml", "--port", "0"}).status, 2);
  writeFile(directory / "empty.log", "hello\n");
  EXPECT_TRUE(failedWith(runTool({"serve", directory / "empty.log", "--port", "0"}), 2,
                         (directory / "empty.log") + ": no laser scans"));
  EXPECT_EQ(runTool({"serve", "--port", "70000"}).status, 2);
  EXPECT_TRUE(
      failedWith(runTool({"serve", "--port", "0", "--host", "no.such.host.invalid"}), 2,
                 "--port: cannot listen at no.such.host.invalid, port 0; it may be in use"));
}

TEST(ServeCommand, SaysWhenItsPortIsInUse) {
  Program first({"serve", "--port", "0"});
  const std::string port = std::to_string(std::stoi(first.line().substr(17)));
  EXPECT_TRUE(
      failedWith(runTool({"serve", "--port", port}), 2,
                 "--port: cannot listen at 127.0.0.1, port " + port + "; it may be in use"));
}

}  // namespace
}  // namespace korrin_test

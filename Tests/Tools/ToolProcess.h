#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Foundation/KLFile.h"
#include "Support/TemporaryDirectory.h"

extern char** environ;

namespace kaleo::testing {

/// The `kaleo` command of this build.
const char* toolPath();

/// A `kaleo` command in a process of its own, with pipes to its input and output; what it says on the standard error is kept.
class ToolProcess {
 public:
  explicit ToolProcess(std::vector<std::string> arguments) {
    int input[2], output[2];
    if (::pipe2(input, O_CLOEXEC) != 0 || ::pipe2(output, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    ::signal(SIGPIPE, SIG_IGN);  // a command that ended early shows by its status
    arguments.insert(arguments.begin(), toolPath());
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errorFile().c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (posix_spawn(&pid_, toolPath(), &actions, nullptr, argv.data(), environ) != 0) throw std::runtime_error(toolPath());
    posix_spawn_file_actions_destroy(&actions);
    ::close(input[0]);
    ::close(output[1]);
    input_ = input[1];
    output_ = output[0];
  }
  /// Kills what has not ended.
  ~ToolProcess() {
    closeInput();
    closeOutput();
    if (pid_ > 0) {
      ::kill(pid_, SIGKILL);
      ::waitpid(pid_, nullptr, 0);
    }
    if (::testing::Test::HasFailure()) std::fprintf(stderr, "%s", (transcript_ + errors()).c_str());
  }
  ToolProcess(const ToolProcess&) = delete;
  ToolProcess& operator=(const ToolProcess&) = delete;

  void send(const std::string& line) const {
    const std::string text = line + '\n';
    (void)!::write(input_, text.data(), text.size());
  }
  void closeInput() { closeFile(input_); }
  void closeOutput() { closeFile(output_); }
  void signal(int number) const { ::kill(pid_, number); }

  /// The next line of its output; nothing at the end of it, or after 30 seconds.
  std::optional<std::string> line() {
    while (unread_.find('\n') == std::string::npos) {
      if (output_ < 0) return std::nullopt;
      char bytes[4096];
      pollfd file{output_, POLLIN, 0};
      if (::poll(&file, 1, kLimitMilliseconds) <= 0) return std::nullopt;
      const ssize_t count = ::read(output_, bytes, sizeof bytes);
      if (count <= 0) return std::nullopt;
      unread_.append(bytes, static_cast<std::size_t>(count));
    }
    const std::size_t feed = unread_.find('\n');
    std::string line = unread_.substr(0, feed);
    unread_.erase(0, feed + 1);
    transcript_ += line.substr(0, kTranscriptColumns) + '\n';
    return line;
  }

  /// The status with which it ends once its output has been read; a negative signal number when a signal ended it.
  int status() {
    while (line()) {
    }
    int status = 0;
    ::waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  std::string errors() const {
    const auto bytes = KLFile::read(errorFile());
    return bytes ? std::string(bytes->begin(), bytes->end()) : "";
  }

 private:
  static constexpr int kLimitMilliseconds = 30'000;
  static constexpr std::size_t kTranscriptColumns = 300;

  std::filesystem::path errorFile() const { return directory_ / "stderr"; }
  static void closeFile(int& file) {
    if (file >= 0) ::close(file);
    file = -1;
  }

  TemporaryDirectory directory_;
  pid_t pid_ = -1;
  int input_ = -1, output_ = -1;
  std::string unread_, transcript_;
};

}  // namespace kaleo::testing

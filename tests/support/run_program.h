// Runs a program with arguments and captures what it writes and how it ends.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/temp_folder.h"

namespace qm::test {

struct ProgramResult {
  int exit_code = -1;  ///< minus the signal's number when one ended it
  std::string out;
  std::string err;
};

/// A program at work; its output goes to files, so it never waits for its reader.
class Program {
 public:
  explicit Program(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    const std::string out = folder_.File("out");
    const std::string err = folder_.File("err");
    id_ = fork();
    if (id_ == 0) {
      dup2(open("/dev/null", O_RDONLY), 0);
      dup2(open(out.c_str(), O_WRONLY | O_CREAT, 0600), 1);
      dup2(open(err.c_str(), O_WRONLY | O_CREAT, 0600), 2);
      execv(arguments[0], arguments.data());
      _exit(127);
    }
  }
  ~Program() {
    if (id_ > 0) Wait();
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  void Send(int signal) const { kill(id_, signal); }
  void Kill() const { Send(SIGKILL); }
  /// What it has written so far.
  bool Running() const {
    siginfo_t info{};
    return waitid(P_PID, static_cast<id_t>(id_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == 0;
  }
  ProgramResult Wait() {
    int status = 0;
    waitpid(id_, &status, 0);
    id_ = 0;
    ProgramResult result;
    result.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    result.out = folder_.Read("out");
    result.err = folder_.Read("err");
    return result;
  }

 private:
  TempFolder folder_;
  pid_t id_ = 0;
};

inline ProgramResult RunProgram(const std::vector<std::string>& command) {
  return Program(command).Wait();
}

}  // namespace qm::test

// PeerProcess: a program that answers questions, a line each way, for as long as this lives.
#pragma once

#include <sys/types.h>

#include <cstdio>
#include <string>
#include <vector>

namespace qm::bench {

class PeerProcess {
 public:
  /// Runs the command in a shell.
  explicit PeerProcess(const std::string& command);
  ~PeerProcess();
  PeerProcess(const PeerProcess&) = delete;
  PeerProcess& operator=(const PeerProcess&) = delete;

  /// What it answers, cut at tabs; std::runtime_error when it has ended.
  std::vector<std::string> Ask(std::string question);

 private:
  pid_t process_ = 0;
  std::FILE* questions_ = nullptr;
  std::FILE* answers_ = nullptr;
};

}  // namespace qm::bench

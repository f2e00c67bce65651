#include "benchmarks/peer_process.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <utility>

extern char** environ;

namespace qm::bench {

PeerProcess::PeerProcess(const std::string& command) {
  std::array<int, 2> to{};
  std::array<int, 2> from{};
  if (pipe(to.data()) != 0 || pipe(from.data()) != 0) throw std::runtime_error("no pipe");
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_adddup2(&files, to[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&files, from[1], STDOUT_FILENO);
  for (const int end : {to[0], to[1], from[0], from[1]}) {
    posix_spawn_file_actions_addclose(&files, end);
  }
  std::string shell = "sh";
  std::string option = "-c";
  std::string text = "exec " + command;
  const std::array<char*, 4> arguments = {shell.data(), option.data(), text.data(), nullptr};
  std::signal(SIGPIPE, SIG_IGN);
  const int failure = posix_spawn(&process_, "/bin/sh", &files, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&files);
  close(to[0]);
  close(from[1]);
  questions_ = fdopen(to[1], "w");
  answers_ = fdopen(from[0], "r");
  if (failure != 0) throw std::runtime_error("cannot run " + command);
}

PeerProcess::~PeerProcess() {
  std::fclose(questions_);
  std::fclose(answers_);
  waitpid(process_, nullptr, 0);
}

std::vector<std::string> PeerProcess::Ask(std::string question) {
  std::fputs(question.append("\n").c_str(), questions_);
  std::fflush(questions_);
  std::string answer;
  int c = 0;
  while ((c = std::getc(answers_)) != EOF && c != '\n') answer.push_back(static_cast<char>(c));
  if (c == EOF) throw std::runtime_error("the peer gave no answer");
  std::vector<std::string> values;
  std::istringstream in(answer);
  for (std::string value; std::getline(in, value, '\t');) values.push_back(std::move(value));
  return values;
}

}  // namespace qm::bench

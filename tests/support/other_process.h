// OtherProcess: another user of a database, in a process of its own, driven through pipes. Make it
// before the test opens the database: an engine's handles must not be carried through a fork.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <exception>
#include <stdexcept>
#include <string>

#include "support/sqlite_fixture.h"

namespace qm::test {

class OtherProcess {
 public:
  /// The database is opened by the first statement, and stays open.
  explicit OtherProcess(const std::string& path) {
    int to[2];
    int from[2];
    if (pipe(to) != 0 || pipe(from) != 0) throw std::runtime_error("no pipe");
    child_ = fork();
    if (child_ == 0) {
      close(to[1]);
      close(from[0]);
      Serve(path, to[0], from[1]);
      _exit(0);
    }
    close(to[0]);
    close(from[1]);
    to_ = to[1];
    from_ = from[0];
  }
  ~OtherProcess() {
    close(to_);
    close(from_);
    waitpid(child_, nullptr, 0);
  }
  OtherProcess(const OtherProcess&) = delete;
  OtherProcess& operator=(const OtherProcess&) = delete;

  /// Runs a query or statement there and waits: the result as `SqliteFile::Query` gives it, or
  /// "error: " and the engine's text.
  std::string Run(const std::string& text) {
    Send(to_, text);
    return Receive(from_);
  }

 private:
  static void Send(int file, const std::string& text) {
    const auto size = static_cast<std::uint32_t>(text.size());
    std::string message(reinterpret_cast<const char*>(&size), sizeof size);
    message += text;
    if (write(file, message.data(), message.size()) < 0) throw std::runtime_error("pipe broken");
  }
  static std::string Receive(int file) {
    std::uint32_t size = 0;
    if (read(file, &size, sizeof size) != sizeof size) throw std::runtime_error("pipe closed");
    std::string text(size, '\0');
    for (std::size_t got = 0; got < size;) {
      const ssize_t count = read(file, text.data() + got, size - got);
      if (count <= 0) throw std::runtime_error("pipe closed");
      got += static_cast<std::size_t>(count);
    }
    return text;
  }
  static void Serve(const std::string& path, int in, int out) {
    std::unique_ptr<SqliteFile> file;
    try {
      for (;;) {
        const std::string text = Receive(in);
        std::string answer;
        try {
          if (!file) file = std::make_unique<SqliteFile>(path);
          answer = file->Query(text);
        } catch (const std::exception& error) {
          answer = std::string("error: ") + error.what();
        }
        Send(out, answer);
      }
    } catch (const std::exception&) {
      // The test is over: its end of the pipe is closed.
    }
  }

  pid_t child_ = -1;
  int to_ = -1;
  int from_ = -1;
};

}  // namespace qm::test

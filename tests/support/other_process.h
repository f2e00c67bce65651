// OtherProcess: another user of a database, in a process of its own, driven through pipes. Make it
// before the test opens the database: an engine's handles must not be carried through a fork. On
// Windows it is a thread with a database handle of its own, which the engine locks out alike.
#pragma once

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>

#include <thread>
#else
#include <sys/wait.h>
#endif
#include <unistd.h>

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include "support/sqlite_fixture.h"

namespace qm::test {

class OtherProcess {
 public:
  /// Gives the answer to a request; it is called there, and keeps its state there.
  using Answer = std::function<std::string(const std::string& request)>;

  /// Runs queries and statements: the result as `SqliteFile::Query` gives it. The database is
  /// opened by the first one, and stays open.
  explicit OtherProcess(const std::string& path)
      : OtherProcess([path, file = std::shared_ptr<SqliteFile>()](const std::string& text) mutable {
          if (!file) file = std::make_shared<SqliteFile>(path);
          return file->Query(text);
        }) {}
  explicit OtherProcess(Answer answer) {
    int to[2];
    int from[2];
#ifdef _WIN32
    constexpr unsigned kPipeSize = 65536;
    if (_pipe(to, kPipeSize, _O_BINARY) != 0 || _pipe(from, kPipeSize, _O_BINARY) != 0) {
      throw std::runtime_error("no pipe");
    }
    child_ = std::thread([answer, in = to[0], out = from[1]] {
      Serve(answer, in, out);
      close(in);
      close(out);
    });
#else
    if (pipe(to) != 0 || pipe(from) != 0) throw std::runtime_error("no pipe");
    child_ = fork();
    if (child_ == 0) {
      close(to[1]);
      close(from[0]);
      Serve(answer, to[0], from[1]);
      _exit(0);
    }
    close(to[0]);
    close(from[1]);
#endif
    to_ = to[1];
    from_ = from[0];
  }
  ~OtherProcess() {
    close(to_);
#ifdef _WIN32
    child_.join();
    close(from_);
#else
    close(from_);
    waitpid(child_, nullptr, 0);
#endif
  }
  OtherProcess(const OtherProcess&) = delete;
  OtherProcess& operator=(const OtherProcess&) = delete;

  /// Sends a request and waits for the answer, "error: " and the text when it failed.
  std::string Run(const std::string& text) {
    Ask(text);
    return TakeAnswer();
  }
  /// The two halves of it, for several processes at work at once. Of several, the last one made is
  /// ended first: it holds the others' pipes.
  void Ask(const std::string& text) { Send(to_, text); }
  std::string TakeAnswer() { return Receive(from_); }

 private:
  static void Send(int file, const std::string& text) {
    const auto size = static_cast<std::uint32_t>(text.size());
    std::string message(reinterpret_cast<const char*>(&size), sizeof size);
    message += text;
    if (write(file, message.data(), static_cast<unsigned>(message.size())) < 0)
      throw std::runtime_error("pipe broken");
  }
  static std::string Receive(int file) {
    std::uint32_t size = 0;
    if (read(file, &size, sizeof size) != sizeof size) throw std::runtime_error("pipe closed");
    std::string text(size, '\0');
    for (std::size_t got = 0; got < size;) {
      const auto count = read(file, text.data() + got, static_cast<unsigned>(size - got));
      if (count <= 0) throw std::runtime_error("pipe closed");
      got += static_cast<std::size_t>(count);
    }
    return text;
  }
  static void Serve(const Answer& answer, int in, int out) {
    try {
      for (;;) {
        const std::string request = Receive(in);
        std::string text;
        try {
          text = answer(request);
        } catch (const std::exception& error) {
          text = std::string("error: ") + error.what();
        }
        Send(out, text);
      }
    } catch (const std::exception&) {
      // The test is over: its end of the pipe is closed.
    }
  }

#ifdef _WIN32
  std::thread child_;
#else
  pid_t child_ = -1;
#endif
  int to_ = -1;
  int from_ = -1;
};

}  // namespace qm::test

// What a person at a terminal sees on standard error while a command works: what is being done and
// how far it is. Nothing of it is written when standard error is no terminal.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace qm::tool {

void Narrate(std::string_view text);

/// Whether somebody can be asked: standard input and standard error are a terminal.
bool CanAsk();
/// The line that the user types, without blanks around; empty where nobody can be asked.
std::string Ask(std::string_view question);

/// A bar on one line, redrawn at most ten times a second and wiped at the end.
class ProgressBar {
 public:
  explicit ProgressBar(std::string label);
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void Show(std::int64_t done, std::int64_t total);

 private:
  std::string label_;
  bool drawn_ = false;
  std::chrono::steady_clock::time_point next_{};
};

}  // namespace qm::tool

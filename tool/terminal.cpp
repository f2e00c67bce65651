#include "tool/terminal.h"

#include <algorithm>
#include <iostream>
#include <utility>

#include "runtime/text.h"

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace qm::tool {

namespace {

bool ErrorIsTerminal() {
#ifdef _WIN32
  static const bool terminal = _isatty(2) != 0;
#else
  static const bool terminal = ::isatty(STDERR_FILENO) == 1;
#endif
  return terminal;
}

constexpr std::string_view kWipe = "\r\x1b[K";

}  // namespace

void Narrate(std::string_view text) {
  if (ErrorIsTerminal()) std::cerr << text << '\n';
}

bool CanAsk() {
#ifdef _WIN32
  return ErrorIsTerminal() && _isatty(0) != 0;
#else
  return ErrorIsTerminal() && ::isatty(STDIN_FILENO) == 1;
#endif
}

std::string Ask(std::string_view question) {
  if (!CanAsk()) return {};
  std::cerr << question << std::flush;
  std::string line;
  std::getline(std::cin, line);
  return std::string(Trim(line));
}

ProgressBar::ProgressBar(std::string label) : label_(std::move(label)) {}

ProgressBar::~ProgressBar() {
  if (drawn_) std::cerr << kWipe;
}

void ProgressBar::Show(std::int64_t done, std::int64_t total) {
  constexpr std::int64_t kWidth = 30;
  const auto now = std::chrono::steady_clock::now();
  if (!ErrorIsTerminal() || now < next_ || total <= 0) return;
  next_ = now + std::chrono::milliseconds(100);
  const double part = std::clamp(static_cast<double>(done) / static_cast<double>(total), 0.0, 1.0);
  const auto full = static_cast<std::size_t>(part * kWidth);
  std::cerr << kWipe << label_ << " [" << std::string(full, '#') << std::string(kWidth - full, '.')
            << "] " << static_cast<int>(part * 100) << '%' << std::flush;
  drawn_ = true;
}

}  // namespace qm::tool

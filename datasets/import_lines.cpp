#include "datasets/import_lines.h"

namespace qm {

namespace {

constexpr std::size_t kChunk = 256U * 1024U;

}  // namespace

void LineReader::SeekTo(std::int64_t offset, std::int64_t lines) {
  source_.Seek(offset);
  buffer_.clear();
  begin_ = 0;
  offset_ = offset;
  lines_ = lines;
  in_overlong_ = false;
}

// Reads another piece behind what is buffered; false at the end of the file.
bool LineReader::Fill() {
  buffer_.erase(0, begin_);
  begin_ = 0;
  const std::size_t size = buffer_.size();
  buffer_.resize(size + kChunk);
  const std::size_t count = source_.Read(buffer_.data() + size, kChunk);
  buffer_.resize(size + count);
  return count > 0;
}

void LineReader::Take(std::size_t count) {
  begin_ += count;
  offset_ += static_cast<std::int64_t>(count);
}

bool LineReader::Next(RawLine& line) {
  if (in_overlong_) Rest([](std::string_view) {});
  std::size_t searched = 0;
  std::size_t newline = std::string_view::npos;
  while ((newline = Buffered().find('\n', searched)) == std::string_view::npos &&
         Buffered().size() <= kMaxLineBytes) {
    searched = Buffered().size();
    if (!Fill()) break;
  }
  const std::string_view bytes = Buffered();
  if (bytes.empty()) return false;
  line.number = ++lines_;
  line.overlong = false;
  if (newline == std::string_view::npos ? bytes.size() > kMaxLineBytes : newline > kMaxLineBytes) {
    line.overlong = in_overlong_ = true;
    line.bytes = bytes.substr(0, kMaxLineBytes);
    line.end = {};
    Take(kMaxLineBytes);
    return true;
  }
  const std::size_t whole = newline == std::string_view::npos ? bytes.size() : newline + 1;
  std::size_t length = newline == std::string_view::npos ? bytes.size() : newline;
  if (newline != std::string_view::npos && length > 0 && bytes[length - 1] == '\r') --length;
  line.bytes = bytes.substr(0, length);
  line.end = bytes.substr(length, whole - length);
  Take(whole);
  return true;
}

void LineReader::Rest(const std::function<void(std::string_view)>& sink) {
  while (in_overlong_) {
    const std::string_view bytes = Buffered();
    const auto newline = bytes.find('\n');
    const std::size_t count = newline == std::string_view::npos ? bytes.size() : newline + 1;
    sink(bytes.substr(0, count));
    Take(count);
    in_overlong_ = newline == std::string_view::npos && Fill();
  }
}

}  // namespace qm

#include "datasets/import_lines.h"

namespace qm {

namespace {

constexpr std::size_t kChunk = std::size_t{256} * 1024;

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
  // One byte more than a line may have, for the CR of its end.
  while ((newline = Buffered().find('\n', searched)) == std::string_view::npos &&
         Buffered().size() <= kMaxLineBytes + 1) {
    searched = Buffered().size();
    if (!Fill()) break;
  }
  const std::string_view bytes = Buffered();
  if (bytes.empty()) return false;
  line.number = ++lines_;
  const bool ended = newline != std::string_view::npos;
  const std::size_t whole = ended ? newline + 1 : bytes.size();
  std::size_t length = ended ? newline : bytes.size();
  if (ended && length > 0 && bytes[length - 1] == '\r') --length;
  line.overlong = in_overlong_ = length > kMaxLineBytes;
  if (line.overlong) {
    line.bytes = bytes.substr(0, kMaxLineBytes);
    line.end = {};
    Take(kMaxLineBytes);
  } else {
    line.bytes = bytes.substr(0, length);
    line.end = bytes.substr(length, whole - length);
    Take(whole);
  }
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

// LineReader: the lines of an import file, each with its bytes and its own line end. Memory is
// bounded: of a line beyond the limit only the beginning is kept, the rest can be streamed.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "datasets/import_source.h"

namespace qm {

inline constexpr std::size_t kMaxLineBytes = std::size_t{1} << 20U;

/// The views hold until the next call.
struct RawLine {
  std::int64_t number = 0;  ///< from 1
  std::string_view bytes;   ///< without the line end
  std::string_view end;     ///< LF, CR LF, or empty at the end of the file
  bool overlong = false;    ///< `bytes` is only the beginning
};

class LineReader {
 public:
  explicit LineReader(TextSource& source) : source_(source) {}

  /// Goes on at an offset, behind that many lines.
  void SeekTo(std::int64_t offset, std::int64_t lines);
  /// False at the end of the file.
  bool Next(RawLine& line);
  /// What an overlong line holds beyond its beginning, line end included; `Next` skips it.
  void Rest(const std::function<void(std::string_view)>& sink);
  /// Behind the last line given, after `Rest` for an overlong one.
  std::int64_t Offset() const { return offset_; }
  std::int64_t Lines() const { return lines_; }

 private:
  bool Fill();
  std::string_view Buffered() const { return std::string_view(buffer_).substr(begin_); }
  void Take(std::size_t count);

  TextSource& source_;
  std::string buffer_;
  std::size_t begin_ = 0;
  std::int64_t offset_ = 0;
  std::int64_t lines_ = 0;
  bool in_overlong_ = false;
};

}  // namespace qm

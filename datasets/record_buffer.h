// RecordBuffer: a fixed-width record under construction. It begins blank; each field's text is laid
// over its columns, which count characters from 1.
//
// Laying a text costs its own length, whatever the record's: columns are held by one byte each, the
// few characters that need more stand beside them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace qm {

class RecordBuffer {
 public:
  /// A negative length is error 5.
  explicit RecordBuffer(std::int16_t length);

  /// Lays at most `length` characters of the text over the columns from `start`, as far as the
  /// record goes; a shorter text leaves the columns behind it. A start outside the record and a
  /// negative length are error 5.
  void Overwrite(std::int16_t start, std::int16_t length, std::string_view text);

  /// The whole record, or its first `length` characters.
  std::string Text() const { return Text(columns_.size()); }
  std::string Text(std::size_t length) const;

 private:
  std::string columns_;
  std::map<std::size_t, std::string> wide_;  ///< by column from 0: characters beyond ASCII
};

}  // namespace qm

#include "datasets/record_buffer.h"

#include <algorithm>

#include <qm/error.h>

#include "runtime/text.h"

namespace qm {

namespace {

std::size_t RequireLength(std::int16_t length) {
  if (length < 0) RaiseRunTime(kErrInvalidCall);
  return static_cast<std::size_t>(length);
}

bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; }

}  // namespace

RecordBuffer::RecordBuffer(std::int16_t length) : columns_(RequireLength(length), ' ') {}

void RecordBuffer::Overwrite(std::int16_t start, std::int16_t length, std::string_view text) {
  if (start < 1 || static_cast<std::size_t>(start) > columns_.size()) {
    RaiseRunTime(kErrInvalidCall);
  }
  const auto first = static_cast<std::size_t>(start) - 1;
  const std::size_t last = first + std::min(RequireLength(length), columns_.size() - first);
  if (IsAscii(text)) {
    const std::size_t count = std::min(text.size(), last - first);
    columns_.replace(first, count, text.substr(0, count));
    wide_.erase(wide_.lower_bound(first), wide_.lower_bound(first + count));
    return;
  }
  std::size_t column = first;
  for (std::size_t i = 0; i < text.size() && column < last; ++column) {
    std::size_t end = i + 1;
    while (end < text.size() && IsContinuation(text[end])) ++end;
    const bool ascii = end == i + 1 && IsAscii(text.substr(i, 1));
    columns_[column] = ascii ? text[i] : ' ';
    if (!ascii) {
      wide_[column] = text.substr(i, end - i);
    } else if (!wide_.empty()) {
      wide_.erase(column);
    }
    i = end;
  }
}

std::string RecordBuffer::Text(std::size_t length) const {
  length = std::min(length, columns_.size());
  std::string text;
  text.reserve(length + 2 * wide_.size());
  std::size_t column = 0;
  for (const auto& [wide_column, character] : wide_) {
    if (wide_column >= length) break;
    text.append(columns_, column, wide_column - column).append(character);
    column = wide_column + 1;
  }
  return text.append(columns_, column, length - column);
}

}  // namespace qm

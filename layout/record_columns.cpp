#include "layout/record_columns.h"

#include <algorithm>

#include <qm/error.h>

#include "runtime/text.h"

namespace qm {

RecordColumns::RecordColumns(std::string_view record) : record_(record) {
  if (IsAscii(record)) return;
  offsets_.reserve(record.size() + 1);
  for (std::size_t i = 0; i < record.size(); ++i) {
    const bool continues = (static_cast<unsigned char>(record[i]) & 0xC0U) == 0x80U;
    if (!continues) offsets_.push_back(static_cast<std::uint32_t>(i));
  }
  offsets_.push_back(static_cast<std::uint32_t>(record.size()));
}

std::string_view RecordColumns::Cut(std::int16_t start, std::int16_t length) const {
  if (start < 1 || length < 0) RaiseRunTime(kErrInvalidCall);
  const auto first = static_cast<std::size_t>(start) - 1;
  const auto count = static_cast<std::size_t>(length);
  if (offsets_.empty()) {
    return first < record_.size() ? record_.substr(first, count) : std::string_view{};
  }
  const std::size_t characters = offsets_.size() - 1;
  if (first >= characters) return {};
  const std::size_t end = std::min(first + count, characters);
  return record_.substr(offsets_[first], offsets_[end] - offsets_[first]);
}

}  // namespace qm

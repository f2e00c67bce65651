#include "runtime/csv_reader.h"

#include <algorithm>

namespace qm {

CsvReader::CsvReader(std::string_view text) : rest_(text) {
  if (rest_.starts_with("\xEF\xBB\xBF")) rest_.remove_prefix(3);
}

bool CsvReader::EndOfLine() {
  const std::size_t length = rest_.starts_with("\r\n") ? 2 : rest_.starts_with('\n') ? 1 : 0;
  rest_.remove_prefix(length);
  if (length > 0) ++next_line_;
  return length > 0;
}

// Stands on the opening quote; false when the cell is refused.
bool CsvReader::Quoted(CsvCell& cell) {
  cell.quoted = true;
  rest_.remove_prefix(1);
  while (true) {
    const std::size_t quote = rest_.find('"');
    if (quote == std::string_view::npos) {
      fault_ = "a quoted value never ends";
      return false;
    }
    cell.text += rest_.substr(0, quote);
    rest_.remove_prefix(quote + 1);
    if (!rest_.starts_with('"')) break;
    cell.text += '"';
    rest_.remove_prefix(1);
  }
  next_line_ += std::count(cell.text.begin(), cell.text.end(), '\n');
  if (rest_.empty() || rest_.starts_with(',') || rest_.starts_with('\n') ||
      rest_.starts_with("\r\n")) {
    return true;
  }
  fault_ = "text stands behind a quoted value";
  return false;
}

void CsvReader::Bare(CsvCell& cell) {
  std::size_t end = std::min(rest_.find_first_of(",\n"), rest_.size());
  if (end > 0 && end < rest_.size() && rest_[end] == '\n' && rest_[end - 1] == '\r') --end;
  cell.text = rest_.substr(0, end);
  rest_.remove_prefix(end);
  if (cell.text.find('"') != std::string::npos) {
    fault_ = "a quote stands within a value that is not quoted as a whole";
  }
}

bool CsvReader::Next(std::vector<CsvCell>& row) {
  row.clear();
  while (EndOfLine()) {
  }
  if (rest_.empty() || !fault_.empty()) return false;
  line_ = next_line_;
  while (true) {
    CsvCell& cell = row.emplace_back();
    if (!rest_.starts_with('"')) {
      Bare(cell);
    } else if (!Quoted(cell)) {
      return false;
    }
    if (!fault_.empty()) return false;
    if (!rest_.starts_with(',')) break;
    rest_.remove_prefix(1);
  }
  EndOfLine();
  return true;
}

}  // namespace qm

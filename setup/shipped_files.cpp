#include "setup/shipped_files.h"

#include <qm/error.h>

#include <algorithm>
#include <cstddef>

namespace qm {

CsvRow SplitCsvLine(std::string_view line) {
  CsvRow cells(1);
  bool quoted = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (c == '"') {
      if (quoted && i + 1 < line.size() && line[i + 1] == '"') {
        cells.back() += '"';
        ++i;
      } else {
        quoted = !quoted;
      }
    } else if (c == ',' && !quoted) {
      cells.emplace_back();
    } else if (c != '\r') {
      cells.back() += c;
    }
  }
  return cells;
}

std::vector<CsvRow> ShippedRows(std::string_view name) {
  const auto files = ShippedFiles();
  const auto file = std::ranges::find(files, name, &ShippedFile::name);
  if (file == files.end()) RaiseRunTime(kErrInvalidCall, name);
  std::string text;
  for (const std::string_view piece : file->pieces) text += piece;

  std::vector<CsvRow> rows;
  std::string_view rest = text;
  rest.remove_prefix(std::min(rest.size(), rest.find('\n') + 1));
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    rows.push_back(SplitCsvLine(rest.substr(0, end)));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return rows;
}

}  // namespace qm

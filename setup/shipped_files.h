// The CSV files below data/, compiled into the library, so that it works from any folder.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qm {

/// One file, by its name below data/ ("layouts/naaccr_18.csv"). Its text stands in pieces.
struct ShippedFile {
  std::string_view name;
  std::span<const std::string_view> pieces;
};

/// All files, sorted by name.
std::span<const ShippedFile> ShippedFiles();

using CsvRow = std::vector<std::string>;

/// The rows of a file below its heading row. Asking for a file that is not there is a fault of the
/// library itself (kErrInvalidCall).
std::vector<CsvRow> ShippedRows(std::string_view name);

/// The cells of one line; a cell may stand in double quotes, doubled inside.
CsvRow SplitCsvLine(std::string_view line);

}  // namespace qm

// CsvReader: the rows of a text of comma-separated values (RFC 4180), one after the other.
//
// Lines end with LF or CRLF; a byte order mark at the head and empty lines are passed over. A cell
// in double quotes holds anything, doubled quotes included, and is told from one without them. A
// quote within a bare cell, text behind a closing one, and a cell that never ends are refused.
// Reading stays within the text, which must outlive the reader.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qm {

struct CsvCell {
  std::string text;
  bool quoted = false;
};

class CsvReader {
 public:
  explicit CsvReader(std::string_view text);

  /// The next row; false at the end, and after a fault, which `Fault` then names.
  bool Next(std::vector<CsvCell>& row);
  /// The line on which the last row (or the fault) begins, from 1.
  std::int64_t Line() const { return line_; }
  /// What is wrong with the text; empty while nothing is.
  std::string_view Fault() const { return fault_; }

 private:
  bool Quoted(CsvCell& cell);
  void Bare(CsvCell& cell);
  bool EndOfLine();

  std::string_view rest_;
  std::int64_t line_ = 0;
  std::int64_t next_line_ = 1;
  std::string_view fault_;
};

}  // namespace qm

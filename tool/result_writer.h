// ResultWriter: rows of results as a table for people, as CSV (RFC 4180) or as one JSON array.
//
// Order of calls: make one with its columns, `Row` for each row, `Finish`. It streams: a table is
// laid out a few hundred rows at a time, so memory does not grow with the result. Output that
// cannot be written (a closed pipe) is error 57 at once.
#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace qm::tool {

/// `kXml` is a record's own text (`Record::GetXML`), which the writer does not write.
enum class Format { kTable, kCsv, kJson, kXml };

/// A number is aligned to the right and stands in JSON as one; empty is null there.
struct Column {
  std::string name;
  bool number = false;
};

class ResultWriter {
 public:
  ResultWriter(std::ostream& out, Format format, std::vector<Column> columns);

  void Row(std::vector<std::string> cells);
  void Finish();

 private:
  void FlushTable();
  void WriteCsv(const std::vector<std::string>& cells);
  void WriteJson(const std::vector<std::string>& cells);

  std::ostream& out_;
  Format format_;
  std::vector<Column> columns_;
  std::vector<std::size_t> widths_;
  std::vector<std::vector<std::string>> pending_;
  bool started_ = false;
};

/// Raises error 57 when something written to the stream was lost.
void RequireWritten(std::ostream& out);

/// A text as JSON writes it, quotes included. What is no UTF-8 becomes U+FFFD.
std::string JsonText(std::string_view text);

}  // namespace qm::tool

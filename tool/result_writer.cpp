#include "tool/result_writer.h"

#include <qm/error.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "runtime/text.h"
#include "tool/tool.h"

namespace qm::tool {

namespace {

constexpr std::size_t kTableRows = 500;

// A cell of a table must not break its line.
std::string OneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20U; }, ' ');
  return text;
}

void WriteTableLine(std::ostream& out, const std::vector<Column>& columns,
                    const std::vector<std::size_t>& widths, const std::vector<std::string>& cells) {
  std::string line;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::size_t width = CharacterCount(cells[i]);
    const std::string fill(widths[i] > width ? widths[i] - width : 0, ' ');
    if (i > 0) line += "  ";
    line += columns[i].number ? fill + cells[i] : cells[i] + fill;
  }
  line.erase(line.find_last_not_of(' ') + 1);
  out << line << '\n';
}

}  // namespace

void RequireWritten(std::ostream& out) {
  if (!out.flush()) throw Error(kDeviceError, "qm", "cannot write to standard output");
}

std::string JsonText(std::string_view text) {
  const bool valid = IsValidUtf8(text);
  std::string result = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      result.append(1, '\\').append(1, c);
    } else if (c == '\n') {
      result += "\\n";
    } else if (c == '\t') {
      result += "\\t";
    } else if (byte < 0x20U) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(byte));
      result += escape;
    } else if (byte >= 0x80U && !valid) {
      result += "\\ufffd";
    } else {
      result += c;
    }
  }
  return result + '"';
}

ResultWriter::ResultWriter(std::ostream& out, Format format, std::vector<Column> columns)
    : out_(out), format_(format), columns_(std::move(columns)), widths_(columns_.size(), 0) {}

void ResultWriter::Row(std::vector<std::string> cells) {
  cells.resize(columns_.size());
  if (format_ == Format::kCsv) {
    WriteCsv(cells);
  } else if (format_ == Format::kJson) {
    WriteJson(cells);
  } else {
    std::transform(cells.begin(), cells.end(), cells.begin(), OneLine);
    pending_.push_back(std::move(cells));
    if (pending_.size() == kTableRows) FlushTable();
  }
  if (!out_) RequireWritten(out_);
}

void ResultWriter::Finish() {
  if (format_ == Format::kJson) {
    out_ << (started_ ? "\n]\n" : "[]\n");
  } else if (format_ == Format::kCsv) {
    if (!started_) WriteCsv({});
  } else {
    FlushTable();
  }
  RequireWritten(out_);
}

void ResultWriter::FlushTable() {
  if (!started_) {
    std::vector<std::string> names;
    for (const Column& column : columns_) names.push_back(column.name);
    pending_.insert(pending_.begin(), std::move(names));
    started_ = true;
  }
  for (const auto& row : pending_) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths_[i] = std::max(widths_[i], CharacterCount(row[i]));
    }
  }
  for (const auto& row : pending_) WriteTableLine(out_, columns_, widths_, row);
  pending_.clear();
}

void ResultWriter::WriteCsv(const std::vector<std::string>& cells) {
  const auto write = [this](std::string_view cell, bool first) {
    if (!first) out_ << ',';
    if (cell.find_first_of(",\"\r\n") == std::string_view::npos) {
      out_ << cell;
      return;
    }
    out_ << '"';
    for (const char c : cell) {
      if (c == '"') out_ << '"';
      out_ << c;
    }
    out_ << '"';
  };
  if (!started_) {
    for (std::size_t i = 0; i < columns_.size(); ++i) write(columns_[i].name, i == 0);
    out_ << "\r\n";
    started_ = true;
  }
  for (std::size_t i = 0; i < cells.size(); ++i) write(cells[i], i == 0);
  if (!cells.empty()) out_ << "\r\n";
}

void ResultWriter::WriteJson(const std::vector<std::string>& cells) {
  out_ << (started_ ? ",\n" : "[\n");
  started_ = true;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    out_ << (i == 0 ? "  {" : ", ") << JsonText(columns_[i].name) << ": ";
    if (!columns_[i].number) {
      out_ << JsonText(cells[i]);
    } else {
      out_ << (cells[i].empty() ? "null" : cells[i]);
    }
  }
  out_ << '}';
}

}  // namespace qm::tool

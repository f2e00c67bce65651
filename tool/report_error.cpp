#include "tool/report_error.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <utility>

#include "dataaccess/data_error.h"
#include "runtime/text.h"
#include "upkeep/table_rows.h"

namespace qm::tool {

namespace {

// Opening a database sends no values: what went wrong there is always told.
constexpr std::string_view kConnectSource = "QMObjects.QMConnecion.Connect";

// The program's own words for an engine's failure, which hold no value of a record.
std::string PlainText(std::int32_t number) {
  switch (number) {
    case kErrEngineBusy:
      return "the database is in use by another user, who holds a lock";
    case kErrNoSuchTable:
      return "the database has no such table";
    case kErrStatement:
      return "the database engine refused the statement";
    case kErrIntegrity:
      return "a key or another rule of the database would be violated";
    case kErrRowChanged:
      return "another user changed the row since it was read";
    default:
      return "the database engine failed";
  }
}

// What an engine says of its files; it speaks of no record.
constexpr std::string_view kTellable[] = {"attempt to write a readonly database",
                                          "disk I/O error",
                                          "database or disk is full",
                                          "unable to open database file",
                                          "database disk image is malformed",
                                          "file is not a database"};

// What a name that the database lacks stands between.
constexpr std::pair<std::string_view, std::string_view> kMissing[] = {
    {"no such column: ", ""},
    {"no such table: ", ""},
    {"ERROR: column ", " does not exist"},
    {"ERROR: relation ", " does not exist"},
    {"Unknown column '", "'"},
    {"Table '", "' doesn't exist"}};

// A name that the database lacks comes from the statement's own words, not from a record: values
// stand between quotes there.
std::string TellablePart(std::string_view engine_text) {
  if (engine_text.starts_with(kConnectionLost)) return ", " + std::string(kConnectionLost);
  if (engine_text.starts_with(kAtRow)) {
    return ", " + std::string(engine_text.substr(0, engine_text.find(": ")));
  }
  for (const auto& [start, end] : kMissing) {
    if (!engine_text.starts_with(start)) continue;
    const std::size_t at = engine_text.find(end, start.size());
    if (at == std::string_view::npos) continue;
    return ", " + std::string(end.empty() ? engine_text : engine_text.substr(0, at + end.size()));
  }
  const bool column = engine_text.find(" has no column named ") != std::string_view::npos;
  return column || std::find(std::begin(kTellable), std::end(kTellable), engine_text) !=
                       std::end(kTellable)
             ? ", " + std::string(engine_text)
             : std::string();
}

}  // namespace

std::string TableOf(std::string_view statement) {
  std::string previous;
  for (std::size_t i = 0; i < statement.size();) {
    const auto is_name = [](char c) {
      const auto byte = static_cast<unsigned char>(c);
      return std::isalnum(byte) != 0 || c == '_' || byte >= 0x80U;
    };
    if (!is_name(statement[i])) {
      ++i;
      continue;
    }
    const auto end = std::find_if_not(statement.begin() + static_cast<std::ptrdiff_t>(i),
                                      statement.end(), is_name) -
                     statement.begin();
    std::string word(statement.substr(i, static_cast<std::size_t>(end) - i));
    if (previous == "FROM" || previous == "INTO" || previous == "UPDATE" || previous == "TABLE") {
      return word;
    }
    previous = UpperCase(word);
    i = static_cast<std::size_t>(end);
  }
  return {};
}

std::string DescribeError(const Error& error, const Tool& tool) {
  std::string text;
  if (tool.doing) text += tool.doing() + ": ";
  text += "error " + std::to_string(error.number()) + " (" + error.source() + "): ";
  const bool plain = error.engine_code() != 0 && error.source() != kConnectSource;
  text += plain ? PlainText(error.number()) + TellablePart(error.description())
                : std::string(error.description());
  if (const std::string table = TableOf(error.statement()); !table.empty()) {
    text += "; table " + table;
  }
  if (!tool.settings.folder.empty() && error.source() != kConnectSource &&
      !error.source().starts_with("qm ")) {
    text += "; databases in " + tool.settings.folder;
  }
  if (plain) {
    if (tool.settings.verbose) {
      text += "\n  engine (" + std::to_string(error.engine_code()) + "): " + error.description();
    } else {
      text += "; --verbose shows what the engine says";
    }
  }
  if (tool.settings.verbose && !error.statement().empty()) {
    text += "\n  statement: " + error.statement();
  }
  return text;
}

}  // namespace qm::tool

#include "dataaccess/connection_string.h"

#include <algorithm>
#include <utility>

#include <qm/error.h>

#include "dataaccess/data_error.h"
#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

// Names that mean the same.
constexpr std::pair<std::string_view, std::string_view> kSynonyms[] = {
    {"PWD", "Password"}, {"UID", "User ID"}, {"DataSource", "Data Source"}};

std::string_view Strip(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string_view Canonical(std::string_view keyword) {
  for (const auto& [synonym, name] : kSynonyms) {
    if (EqualsIgnoreCase(keyword, synonym)) return name;
  }
  return keyword;
}

std::string PieceName(int position) {
  return "piece " + std::to_string(position) + " of the connection string";
}

// Takes the value at the front of `rest`, and the semicolon behind it.
std::string TakeValue(std::string_view& rest, int position) {
  const std::size_t first = std::min(rest.find_first_not_of(kBlanks), rest.size());
  const char opening = first < rest.size() ? rest[first] : '\0';
  const char quote = opening == '{' ? '}' : opening;
  if (quote != '"' && quote != '\'' && quote != '}') {
    const std::size_t end = std::min(rest.find(';'), rest.size());
    std::string value(Strip(rest.substr(0, end)));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return value;
  }
  std::string value;
  for (std::size_t i = first + 1; i < rest.size(); ++i) {
    if (rest[i] != quote) {
      value += rest[i];
    } else if (i + 1 < rest.size() && rest[i + 1] == quote) {
      value += rest[i++];
    } else {
      const std::size_t end = std::min(rest.find(';', i), rest.size());
      if (!Strip(rest.substr(i + 1, end - i - 1)).empty()) {
        RaiseData(kErrBadArgument, PieceName(position) + " goes on behind its quoted value");
      }
      rest.remove_prefix(std::min(end + 1, rest.size()));
      return value;
    }
  }
  RaiseData(kErrBadArgument, PieceName(position) + " has an open quote");
}

}  // namespace

ParsedConnectionString::ParsedConnectionString(std::string_view text) {
  bool behind_password = false;
  for (int position = 1; !text.empty(); ++position) {
    const std::size_t end = text.find_first_of("=;");
    if (end == std::string_view::npos || text[end] == ';') {
      if (!Strip(text.substr(0, end)).empty()) {
        RaiseData(kErrBadArgument, PieceName(position) + " has no \"=\"");
      }
      text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
      continue;
    }
    Part part{position, std::string(Canonical(Strip(text.substr(0, end)))), {}, behind_password};
    text.remove_prefix(end + 1);
    part.value = TakeValue(text, position);
    if (FindPart(part.keyword) != nullptr) {
      RaiseData(kErrBadArgument, PieceName(position) + " repeats a keyword");
    }
    behind_password = behind_password || EqualsIgnoreCase(part.keyword, "Password");
    parts_.push_back(std::move(part));
  }
}

const ParsedConnectionString::Part* ParsedConnectionString::FindPart(
    std::string_view keyword) const {
  for (const Part& part : parts_) {
    if (EqualsIgnoreCase(part.keyword, Canonical(keyword))) return &part;
  }
  return nullptr;
}

std::vector<std::pair<std::string, std::string>> ParsedConnectionString::Values() const {
  std::vector<std::pair<std::string, std::string>> values;
  for (const Part& part : parts_) values.emplace_back(part.keyword, part.value);
  return values;
}

std::optional<std::string> ParsedConnectionString::Find(std::string_view keyword) const {
  const Part* part = FindPart(keyword);
  return part == nullptr ? std::nullopt : std::optional(part->value);
}

bool ParsedConnectionString::MayName(std::string_view keyword) const {
  const Part* part = FindPart(keyword);
  return part == nullptr || !part->behind_password;
}

void ParsedConnectionString::RequireKnown(std::span<const std::string_view> known) const {
  for (const Part& part : parts_) {
    const auto same = [&](std::string_view name) { return EqualsIgnoreCase(name, part.keyword); };
    if (std::any_of(known.begin(), known.end(), same)) continue;
    RaiseData(kErrBadArgument, part.behind_password
                                   ? PieceName(part.position) + " has an unknown keyword"
                                   : "unknown keyword \"" + part.keyword + "\"");
  }
}

}  // namespace qm

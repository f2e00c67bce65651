// Values as literals of SQL text.
#pragma once

#include <string>
#include <string_view>

namespace qm {

/// Appends the value in single quotes, those inside doubled.
inline void AppendSqlText(std::string& statement, std::string_view value) {
  statement += '\'';
  for (const char c : value) {
    if (c == '\'') statement += '\'';
    statement += c;
  }
  statement += '\'';
}

inline std::string SqlText(std::string_view value) {
  std::string literal;
  AppendSqlText(literal, value);
  return literal;
}

}  // namespace qm

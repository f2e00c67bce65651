// Recognises the statements whose rows are rows of one table, so that they can be found again and
// changed: SELECT … FROM one table [alias] [WHERE …] [ORDER BY …] [LIMIT …], without DISTINCT,
// grouping, aggregates, compounds, joins or sub-queries in the list. When in doubt the answer is
// no, which makes a recordset read-only.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "dataaccess/sql_scanner.h"

namespace qm {

struct PlainSelect {
  std::string_view list;        ///< what stands between SELECT and FROM
  std::string_view table_text;  ///< the table, with schema and alias, as written
  std::string_view rest;        ///< everything behind it
  std::string_view target;      ///< the same without the alias
  std::string schema;           ///< without quotes; empty when not given
  std::string table;            ///< the table's name without schema and quotes
  std::string_view reference;   ///< how columns of it are qualified: the alias, or its name
};

std::optional<PlainSelect> ParsePlainSelect(std::string_view text, SqlQuoting quoting = {});

}  // namespace qm

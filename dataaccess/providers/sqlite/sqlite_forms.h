// SqliteForms: statements that are given again and again with other values in their text. Each is
// another text to the engine, and one over a wide table takes longer to prepare than to run. Of two
// forms the values are bound instead, so that the engine prepares each once:
//
//   SELECT … FROM t WHERE key = 12      where `key` is the table's primary key, a whole number
//   INSERT INTO t (…) values (12, 'a')  values that are whole numbers and plain texts
//
// Rows, errors and the text that errors carry are those of the text as it was given: a constant
// compares and is stored as the same value bound is, and a key finds one row at most, so that no
// plan can change an order. A form is learnt from a text that the engine took; any other text, and
// any that a form does not fit letter for letter, is prepared as it stands.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dataaccess/plain_select.h"
#include "dataaccess/provider.h"
#include "dataaccess/providers/sqlite/sqlite_table.h"

namespace qm {

/// A value as it stands in a text.
struct SqliteConstant {
  bool is_text = false;
  std::int64_t number = 0;
  std::string_view text;
};

struct SqliteForm {
  SqliteForm() = default;
  ~SqliteForm() { sqlite3_finalize(idle); }
  SqliteForm(const SqliteForm&) = delete;
  SqliteForm& operator=(const SqliteForm&) = delete;

  std::string head;      ///< the text up to its first value
  std::string prepared;  ///< with places for the values
  std::size_t places = 1;
  bool inserts = false;
  bool with_identity = false;
  std::shared_ptr<const SqliteTable> table;  ///< with identity alone
  RowShapePointer shape;                     ///< once it ran
  sqlite3_stmt* idle = nullptr;              ///< prepared, and not in use
  bool spoilt = false;                       ///< the tables are no longer those it was learnt from
};

class SqliteForms {
 public:
  struct Fitting {
    std::shared_ptr<SqliteForm> form;
    std::vector<SqliteConstant> values;  ///< views of the text
  };

  /// The form that a text has; nothing for a text of no form learnt so far. Every text with a form
  /// is one statement.
  std::optional<Fitting> Fit(std::string_view text, bool with_identity);

  /// For a text that the engine took, beyond `plain`'s own proof: whether a form may be made of it.
  void LearnInsert(std::string_view text);
  /// The key's column in a text of the first form; empty for any other.
  static std::string KeyTested(const PlainSelect& plain);
  /// `table` is null without identity. The tested column is the key.
  void LearnSelect(std::string_view text, const PlainSelect& plain,
                   std::shared_ptr<const SqliteTable> table);

  void Forget() { forms_.clear(); }

 private:
  void Keep(std::shared_ptr<SqliteForm> form);

  std::vector<std::shared_ptr<SqliteForm>> forms_;
};

}  // namespace qm

// The search in SQL, as a database engine would be asked for it: the patients and the records as
// two tables with a column for each rule, written as files once, and the statements over them.
//
// What the rules make of a column is worked out beforehand: values are in capitals and cut, codes
// of sounds are there, missing values and those that do not block are Null. Rules must be such that
// the sum needs no rounding in between: weights in hundreds, and names alone compared by likeness.
#pragma once

#include <qm/connection.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace qm::bench {

class MatchingSql {
 public:
  /// By the calling thread's rules and the registry's blocking rules.
  explicit MatchingSql(std::shared_ptr<Connection> registry);

  /// Writes both tables into the folder, unless they are there; the statements that load them.
  std::vector<std::string> Load(const std::filesystem::path& folder) const;

  /// The count and the sum of scores of all matches of all records: a join for each blocking rule,
  /// each without the pairs of those before it. `bounded` looks at the exact rules first and
  /// compares names only where the cut-off can still be reached.
  std::string Blocked(bool bounded) const;
  /// The same of one record without blocking; its values are told as constants.
  std::string AgainstAll(std::int32_t record, bool bounded) const;

 private:
  struct Rule {
    std::string expression;
    std::string missing;
    bool exact = false;
    int hundreds = 0;
  };
  struct Block {
    std::string abstract_field;
    std::string patient_field;
    std::string ignored;
  };

  void WriteRows(const std::filesystem::path& file, const std::string& table, bool patients) const;
  std::vector<std::string> Values(const Recordset& row, bool patients) const;
  std::string Conditions(const std::vector<std::string>& record, bool bounded) const;
  std::string Score(const std::vector<std::string>& record, bool exact) const;

  std::shared_ptr<Connection> registry_;
  std::vector<Rule> rules_;
  std::vector<Block> blocks_;
  int cutoff_ = 0;
};

}  // namespace qm::bench

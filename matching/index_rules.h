// IndexRules: the comparison and blocking rules as they apply to the columns of `PatientRows`.
//
// A comparison rule whose expression reads one column is derived: its texts are known for every
// value, and which of them count as missing. Any other rule is evaluated for each patient.
//
// Order of calls: the constructor tells which columns are needed; then, with the rows there,
// `Extend`, also after rows were added. Reading is safe for many threads at once.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <qm/connection.h>

#include "matching/derived_values.h"
#include "matching/matching_state.h"
#include "matching/patient_rows.h"
#include "matching/rule_expression.h"

namespace qm {

/// So many of the columns are what a search of the database reads of each candidate; blocking may
/// use others.
inline constexpr std::size_t kSearchColumnCount = 8;
inline constexpr std::size_t kLastNameColumn = 3;
inline constexpr std::size_t kFirstNameColumn = 4;
inline constexpr std::size_t kMiddleNameColumn = 5;

struct IndexBlock {
  RuleExpression abstract_field;
  std::string patient_field;
  std::optional<std::string> ignored;
  std::size_t column = 0;
};

struct IndexRule {
  MatchRule rule;
  RuleExpression expression;
  std::optional<std::size_t> derived{};
  std::vector<bool> missing{};  ///< by code of the derived texts
  std::vector<PatientRows::Code> missing_codes{};
  /// At most what an agreement of so many hundredths adds, rounding included; 101: anything.
  std::array<std::int16_t, 102> most{};
};

/// The rules that read one column, those of plain equality first. Values of the column that no rule
/// tells apart, save those with many texts, are of one class.
struct RuleGroup {
  using Class = std::uint8_t;
  /// What a class knows of a rule in place of the code of its text.
  static constexpr std::int64_t kMissing = -1;
  static constexpr std::int64_t kAnyText = -2;
  /// The class of values that came when there were too many classes.
  static constexpr Class kAnyClass = 255;

  std::size_t column = 0;
  std::vector<std::size_t> rules{};
  std::vector<bool> has_few_texts{};                 ///< by rule of the group
  std::vector<Class> classes{};                      ///< by code of the value
  std::vector<std::vector<std::int64_t>> members{};  ///< of a class: by rule of the group
};

class IndexRules {
 public:
  /// The calling thread's comparison rules, and the blocking rules of the connection. 3251 when a
  /// blocking rule names no plain column.
  explicit IndexRules(const std::shared_ptr<Connection>& connection);

  /// The columns of the patients, first those that every search reads, in their order.
  const std::vector<std::string>& columns() const { return columns_; }
  std::vector<bool> BlockingColumns() const;

  /// All values of the columns.
  void Extend(const PatientRows& rows, int threads);
  /// The values of one row.
  void Extend(const PatientRows& rows, PatientRows::RowNumber row);

  const std::vector<IndexBlock>& blocks() const { return blocks_; }
  const std::vector<IndexRule>& rules() const { return rules_; }
  const std::vector<DerivedValues>& derived() const { return derived_; }
  const std::vector<RuleGroup>& groups() const { return groups_; }
  std::int16_t cutoff() const { return cutoff_; }
  /// Whether a patient may be passed over for what rules can add at most: no total overflows, and
  /// no evaluation can fail.
  bool CanPassOver() const { return bounded_ && all_derived_ && !any_failed_; }
  std::size_t Bytes() const;

 private:
  std::size_t ColumnOf(const std::string& name);
  void ReadBlocks(const std::shared_ptr<Connection>& connection);
  void AddRule(const MatchRule& rule);
  void MakeGroups();
  void ExtendBy(const PatientRows& rows, std::size_t column,
                const std::vector<PatientRows::Code>& values, int threads);
  void NoteMissing(IndexRule& rule, PatientRows::Code text, const PatientRows::Column& held);
  void Classify(RuleGroup& group, const PatientRows::Column& held,
                const std::vector<PatientRows::Code>& values);

  std::vector<std::string> columns_;
  std::vector<IndexBlock> blocks_;
  std::vector<IndexRule> rules_;
  std::vector<DerivedValues> derived_;
  std::vector<RuleGroup> groups_;
  std::int16_t cutoff_;
  bool bounded_ = true;
  bool all_derived_ = true;
  bool any_failed_ = false;
};

}  // namespace qm

// RecordSide: the record in work as the rules see it: its blocking values, its text for each
// comparison rule, and how far that agrees with each text of the patients that was asked for.
//
// Order of calls: `Start` with each record, then the rest, while `abstract` can be asked. What an
// expression makes of a value that some patient has too is looked up, not evaluated. Agreements
// with all texts of a column are kept for the names that came last, so common names cost nothing
// the next time. Rows and rules may have grown before `Start`. One thread's own.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "comparison/prepared_comparator.h"
#include "matching/index_rules.h"
#include "matching/match_field.h"
#include "matching/patient_rows.h"

namespace qm {

class RecordSide {
 public:
  using Code = PatientRows::Code;
  using Percents = std::vector<std::uint8_t>;
  /// In place of the agreement with a text that counts as missing.
  static constexpr std::uint8_t kMissingPercent = 254;

  /// The record's side of a rule.
  struct Side {
    bool is_ready = false;
    std::string text{};
    bool missing = true;
    std::optional<Code> code{};  // among the derived texts
    std::optional<PreparedComparator> prepared{};
    const Percents* all = nullptr;  // by code of the derived texts
    Percents percents{};            // the same, those that are known
    std::vector<Code> known{};
    bool remembers = false;
  };

  RecordSide(const PatientRows& rows, const IndexRules& rules);

  void Start(const FieldReader& abstract, bool by_library, bool passes_over);
  /// The record's value for a blocking rule.
  const std::string& BlockingValue(std::size_t block);
  /// Makes the side of a rule: its text.
  void Resolve(std::size_t rule);
  /// And, for a rule of likeness, what compares it; about so many patients will be compared.
  void PrepareComparison(std::size_t rule, std::size_t expected);

  const Side& side(std::size_t rule) const { return sides_[rule]; }
  /// The agreement with one of the rule's derived texts, by its code, or with any text.
  std::int16_t Percent(std::size_t rule, Code text);
  std::int16_t Compare(std::size_t rule, std::string_view text) const;
  /// What a rule's expression makes of another's fields.
  const std::string& Evaluate(std::size_t rule, const FieldReader& record);

 private:
  struct Field {
    std::string name;
    std::optional<std::string> text;
    std::vector<std::optional<std::optional<Code>>> codes;  // by column, where looked up
  };
  // An expression with the places of its fields.
  struct Bound {
    RuleExpression expression;
    std::vector<std::size_t> fields;
  };
  struct Known {
    std::string field;
    std::optional<std::string> value;
  };
  struct Kept {
    std::string text;
    Percents percents;
    std::uint32_t version = 0;
    std::uint64_t used = 0;
  };

  Bound Bind(const RuleExpression& expression);
  const std::string& FieldText(std::size_t field);
  std::optional<Code> CodeOf(std::size_t field, std::size_t column);
  void Run(RuleExpression& expression, const FieldReader& record);
  void EvaluateRecord(Bound& bound);
  bool LookUp(std::size_t rule);
  const Percents* AllPercents(std::size_t rule);
  void Compute(std::size_t rule, Percents& percents) const;
  const DerivedValues& DerivedOf(std::size_t rule) const {
    return rules_.derived()[*rules_.rules()[rule].derived];
  }
  const PatientRows::Column& ColumnOf(const DerivedValues& derived) const {
    return rows_.columns()[derived.column()];
  }

  const PatientRows& rows_;
  const IndexRules& rules_;
  std::vector<Field> fields_;
  std::vector<Bound> blocking_;
  std::vector<std::vector<Known>> known_blocking_;  // by hash of the field's text
  std::vector<Bound> comparing_;
  std::vector<Side> sides_;
  std::vector<std::vector<Kept>> kept_;  // by rule
  std::vector<std::string> values_;
  std::string value_;
  const FieldReader* abstract_ = nullptr;
  std::uint64_t records_ = 0;
  bool by_library_ = false;
  bool passes_over_ = false;
};

}  // namespace qm

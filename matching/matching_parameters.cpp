// Loading of the calling thread's rules and cut-off.

#include <cstdint>
#include <string>

#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/matcher.h>

#include "dataaccess/connection_choice.h"
#include "matching/matching_state.h"
#include "runtime/text.h"

namespace qm {

namespace {

// The number of rows from the first one on; the recordset stands on the first row afterwards.
std::int64_t CountRows(Recordset& recordset) {
  std::int64_t count = recordset.RecordCount();
  if (count >= 0) return count;
  count = 0;
  for ([[maybe_unused]] const Recordset& row : recordset.Rows()) ++count;
  recordset.Requery();
  return count;
}

// Column by column, so that a rule that fails keeps what was read of it.
void ReadRule(const Recordset& row, MatchRule& rule) {
  std::string& in_work = CurrentMatching().rule_in_work;
  in_work = "without a FieldName in tblMatchingParameters";
  rule.field_expression = ToTextOrEmpty(row.Value("FieldName"));
  if (!Trim(rule.field_expression).empty()) in_work = Trim(rule.field_expression);
  rule.weight = ToDouble(row.Value("Weight"));
  const Variant missing_values = row.Value("MissingValues");
  rule.missing_values = missing_values.IsNull() ? kNoMissingValues : ToText(missing_values);
  rule.exact_match = ToInt32(row.Value("ExactMatch"));
  const Variant parameter = row.Value("StringComparatorParam");
  rule.comparator_parameter = parameter.IsNull() ? std::int16_t{0} : ToInt16(parameter);
  rule.alias_name = ToTextOrEmpty(row.Value("AliasName"));
}

void LoadRules(const std::shared_ptr<Connection>& connection, std::vector<MatchRule>& rules) {
  const auto rows = connection->CreateRecordset();
  rows->Open("SELECT * FROM tblMatchingParameters WHERE ignore <> 1", connection, kOpenKeyset,
             kLockReadOnly);
  const std::int16_t count = NarrowInt16(static_cast<double>(CountRows(*rows)));
  rules.assign(static_cast<std::size_t>(count), MatchRule{});
  std::int16_t counter = 1;
  for (const Recordset& row : rows->Rows()) {
    // A row that came in after the count has no place.
    if (counter > count) RaiseRunTime(kErrSubscript);
    ReadRule(row, rules[static_cast<std::size_t>(counter) - 1]);
    counter = NarrowInt16(counter + 1);
  }
  rows->Close();
}

std::int16_t ReadCutoff(const std::shared_ptr<Connection>& connection) {
  CurrentMatching().rule_in_work = "of tblTLCParameters (PotentialPatientMatch)";
  const auto row = connection->CreateRecordset();
  row->Open("select * from tblTLCParameters", connection);
  return ToInt16(row->Value("PotentialPatientMatch"));
}

}  // namespace

bool Matcher::ReadMatchingParams(std::string_view con) {
  MatchingState& state = CurrentMatching();
  state.rule_in_work.clear();
  try {
    const auto connection = CreateConnectionFor(con);
    connection->Open(con);
    LoadRules(connection, state.rules);
    state.cutoff_score = ReadCutoff(connection);
    connection->Close();
    state.rule_in_work.clear();
    return true;
  } catch (const Error& error) {
    throw error.As(kObjectErrorBase + 5000, "qmDataObjects.Matcher.ReadMatchingParams");
  }
}

std::int16_t Matcher::CutoffScore() const { return CurrentMatching().cutoff_score; }

void Matcher::SetCutoffScore(std::int16_t score) { CurrentMatching().cutoff_score = score; }

}  // namespace qm

#include "benchmarks/matching_sql.h"

#include <qm/conversions.h>

#include <cmath>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "matching/match_field.h"
#include "matching/match_scorer.h"
#include "matching/matching_state.h"
#include "runtime/text.h"

namespace qm::bench {

namespace {

std::string Evaluate(std::string expression, const Recordset& row) {
  const std::string value = EvaluateMatchField(expression, row, ValueText::kEscaped);
  return value.substr(1, value.size() - 2);
}

void WriteRow(std::ostream& out, const std::vector<std::string>& values) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    out << (i == 0 ? "\"" : ",\"");
    for (const char c : values[i]) out << (c == '"' ? "\"\"" : std::string(1, c));
    out << '"';
  }
  out << '\n';
}

std::string Literal(const std::string& value) {
  if (value.empty()) return "NULL";
  std::string literal = "'";
  for (const char c : value) literal += c == '\'' ? "''" : std::string(1, c);
  return literal + "'";
}

std::string Column(const char* prefix, std::size_t number) {
  return prefix + std::to_string(number);
}

}  // namespace

MatchingSql::MatchingSql(std::shared_ptr<Connection> registry)
    : registry_(std::move(registry)), cutoff_(CurrentMatching().cutoff_score) {
  for (const MatchRule& rule : CurrentMatching().rules) {
    const double hundreds = rule.weight / 100;
    if (hundreds != std::floor(hundreds) || (rule.exact_match == 0 && rule.comparator_parameter)) {
      throw std::runtime_error("a rule that SQL cannot take: " + rule.field_expression);
    }
    rules_.push_back({std::string(Trim(rule.field_expression)), rule.missing_values,
                      rule.exact_match != 0, static_cast<int>(hundreds)});
  }
  const auto rows = registry_->Execute("SELECT * FROM tblBlockingParameters");
  for (const Recordset& row : rows->Rows()) {
    blocks_.push_back({ToText(row.Value("AbstractField")), ToText(row.Value("PatientField")),
                       ToTextOrEmpty(row.Value("ignorevalues"))});
  }
}

std::vector<std::string> MatchingSql::Values(const Recordset& row, bool patients) const {
  std::vector<std::string> values = {ToText(row.Value(0))};
  for (const Rule& rule : rules_) {
    std::string value;
    MakeCompared(Evaluate(rule.expression, row), value);
    const std::string trimmed(Trim(value));
    values.push_back(rule.missing.find(trimmed) == std::string::npos ? trimmed : "");
  }
  for (const Block& block : blocks_) {
    if (patients) {
      values.push_back(ToTextOrEmpty(row.Value(block.patient_field)));
    } else {
      const std::string value = Evaluate(block.abstract_field, row);
      values.push_back(block.ignored.find("'" + value + "'") == std::string::npos ? value : "");
    }
  }
  return values;
}

void MatchingSql::WriteRows(const std::filesystem::path& file, const std::string& query,
                            bool patients) const {
  const std::filesystem::path part = file.string() + ".part";
  std::ofstream out(part);
  std::vector<std::string> names = {"id"};
  for (std::size_t i = 0; i < rules_.size(); ++i) names.push_back(Column("v", i));
  for (std::size_t i = 0; i < blocks_.size(); ++i) names.push_back(Column("b", i));
  WriteRow(out, names);
  const auto rows = registry_->CreateRecordset();
  rows->Open(query, registry_, kOpenForwardOnly, kLockReadOnly);
  for (const Recordset& row : rows->Rows()) WriteRow(out, Values(row, patients));
  out.close();
  if (!out) throw std::runtime_error("cannot write " + part.string());
  std::filesystem::rename(part, file);
}

std::vector<std::string> MatchingSql::Load(const std::filesystem::path& folder) const {
  const auto patients = folder / "peer_patients.csv";
  const auto records = folder / "peer_records.csv";
  const std::string columns = ", LastName, FirstName, MiddleName, Sex, Race1, BirthDate, SocSec";
  if (!std::filesystem::exists(patients)) {
    WriteRows(patients, "SELECT PatientID, Soundex" + columns + " FROM Patients", true);
  }
  if (!std::filesystem::exists(records)) {
    WriteRows(records, "SELECT AbsRefID" + columns + " FROM Abstracts", false);
  }
  std::vector<std::string> statements;
  for (const auto& [table, file] : {std::pair("patients", patients), {"records", records}}) {
    statements.push_back(std::string("CREATE TABLE ") + table +
                         " AS SELECT * REPLACE (CAST(id AS INTEGER) AS id) FROM read_csv('" +
                         file.string() + "', header = true, all_varchar = true)");
  }
  return statements;
}

// What the exact rules give, or the others; `record` has a text of SQL for each of its values.
std::string MatchingSql::Score(const std::vector<std::string>& record, bool exact) const {
  std::string sum;
  for (std::size_t i = 0; i < rules_.size(); ++i) {
    if (rules_[i].exact != exact) continue;
    const std::string patient = Column("p.v", i);
    const std::string weight = std::to_string(rules_[i].hundreds);
    sum += sum.empty() ? "" : " + ";
    sum +=
        exact ? "CASE WHEN " + record[i] + " = " + patient + " THEN 100 * " + weight + " ELSE 0 END"
              : "coalesce(CAST(100 * jaro_winkler_similarity(" + record[i] + ", " + patient +
                    ") AS INTEGER), 0) * " + weight;
  }
  return sum;
}

std::string MatchingSql::Conditions(const std::vector<std::string>& record, bool bounded) const {
  const std::string exact = Score(record, true);
  int most = 0;
  for (const Rule& rule : rules_) most += rule.exact ? 0 : 100 * rule.hundreds;
  std::string conditions;
  if (bounded) conditions = exact + " >= " + std::to_string(cutoff_ - most) + " AND ";
  return conditions + exact + " + " + Score(record, false) + " >= " + std::to_string(cutoff_);
}

std::string MatchingSql::Blocked(bool bounded) const {
  std::vector<std::string> record;
  for (std::size_t i = 0; i < rules_.size(); ++i) record.push_back(Column("r.v", i));
  std::string pairs;
  std::string before;
  for (std::size_t i = 0; i < blocks_.size(); ++i) {
    const std::string ours = Column("r.b", i);
    const std::string theirs = Column("p.b", i);
    pairs += pairs.empty() ? "" : " UNION ALL ";
    pairs += "SELECT " + Score(record, true) + " + " + Score(record, false) +
             " AS score FROM patients p JOIN records r ON " + ours + " = " + theirs + " WHERE " +
             before + Conditions(record, bounded);
    before += "coalesce(" + ours + " <> " + theirs + ", true) AND ";
  }
  return "SELECT count(*), coalesce(sum(score), 0) FROM (" + pairs + ")";
}

std::string MatchingSql::AgainstAll(std::int32_t record, bool bounded) const {
  const auto row =
      registry_->Execute("SELECT * FROM Abstracts WHERE AbsRefID = " + std::to_string(record));
  std::vector<std::string> values = Values(*row, false);
  values.erase(values.begin());
  for (std::string& value : values) value = Literal(value);
  return "SELECT count(*), coalesce(sum(" + Score(values, true) + " + " + Score(values, false) +
         "), 0) FROM patients p WHERE " + Conditions(values, bounded);
}

}  // namespace qm::bench

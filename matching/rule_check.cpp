// The check of the matching rules: order of work, and what tables, weights, cut-off and columns
// tell by themselves.
#include "matching/rule_check.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/recordset.h>

#include "dataaccess/database_catalog.h"
#include "dataaccess/sql_scanner.h"
#include "runtime/text.h"

namespace qm {

namespace {

const RuleTableInfo& kBlocking = kRuleTables[0];
const RuleTableInfo& kMatching = kRuleTables[1];
const RuleTableInfo& kCutoff = kRuleTables[2];

constexpr const char* kWholeWeights =
    "scores are rounded after every rule; use whole weights, multiplying all and the cut-off if "
    "need be";

std::string Decimal(double value) { return ToText(Variant(value)); }

}  // namespace

RuleCheck::RuleCheck(std::shared_ptr<Connection> connection, const MatchRules& rules)
    : connection_(std::move(connection)), rules_(rules) {
  try {
    const auto abstracts = connection_->Execute("SELECT * FROM Abstracts WHERE 1 = 2");
    for (int i = 0; i < abstracts->FieldCount(); ++i) {
      abstract_columns_.push_back(abstracts->FieldName(i));
    }
  } catch (const Error& error) {
    // Rules and patients may be kept apart from the abstracts.
    if (error.number() != kErrNoSuchTable) throw;
  }
}

void RuleCheck::Add(const RuleTableInfo& info, std::optional<std::size_t> row, std::string code,
                    std::string what, std::string advice) {
  RuleFinding finding;
  finding.code = std::move(code);
  finding.table = info.table;
  finding.what = std::move(what);
  finding.advice = std::move(advice);
  if (row) {
    const RuleTable& table = rules_.*info.member;
    finding.key = RuleKey(info, table, table.rows[*row]);
    finding.line = table.rows[*row].line;
    const char* column = &info == &kBlocking ? "AbstractField" : "FieldName";
    finding.rule = Trim(ToTextOrEmpty(table.Value(table.rows[*row], column)));
  }
  const auto table = static_cast<std::size_t>(&info - kRuleTables.data());
  findings_.push_back({table, row.value_or(SIZE_MAX), std::move(finding)});
}

void RuleCheck::Add(const CheckedRule& rule, std::string code, std::string what,
                    std::string advice) {
  Add(*rule.info, rule.row, std::move(code), std::move(what), std::move(advice));
}

// Rows that cannot be loaded are told here and checked no further.
void RuleCheck::CollectRules() {
  for (const RuleTableInfo& info : kRuleTables) {
    const RuleTable& table = rules_.*info.member;
    for (std::size_t i = 0; i < table.rows.size(); ++i) {
      const RuleTable::Row& row = table.rows[i];
      const bool comparison = &info == &kMatching;
      if (comparison) {
        const Variant ignore = table.Value(row, "ignore");
        if (ignore.IsNull()) {
          Add(info, i, "ignore-unclear", "ignore is Null, so the rule is left out",
              "write 0 to use the rule, 1 to leave it out");
        } else if (IsNumeric(ignore) && ToDouble(ignore) != 0 && ToDouble(ignore) != 1) {
          Add(info, i, "ignore-unclear",
              "ignore is " + ToText(ignore) + "; only 1 leaves a rule out, so this one counts",
              "write 0 to use the rule, 1 to leave it out");
        }
      }
      if (comparison && !IsActiveRule(table, row)) continue;
      if (const std::string why = WhyNotLoaded(info, table, row); !why.empty()) {
        Add(info, i, "not-loaded", why + ": no search can run", "fill it in");
        continue;
      }
      if (&info == &kCutoff) continue;
      CheckedRule& rule = checked_.emplace_back();
      rule.info = &info;
      rule.row = i;
      rule.expression = Trim(ToText(table.Value(row, comparison ? "FieldName" : "AbstractField")));
      rule.fields = FieldsOf(rule.expression);
      const Variant values = table.Value(row, comparison ? "MissingValues" : "ignorevalues");
      if (!values.IsNull()) rule.not_values = ToText(values);
      if (comparison) {
        rule.exact = ToDouble(table.Value(row, "ExactMatch")) != 0;
      } else {
        rule.patient_field = Trim(ToText(table.Value(row, "PatientField")));
      }
    }
  }
}

void RuleCheck::CheckTables() {
  const auto count = [&](const RuleTableInfo& info) {
    return std::ranges::count(checked_, &info, &CheckedRule::info);
  };
  if (rules_.blocking.rows.empty()) {
    Add(kBlocking, {}, "no-rules", "there is no blocking rule: every patient is scored each time",
        "add a rule for the number, the birth date or the sound of the surname");
  }
  if (count(kMatching) == 0) {
    Add(kMatching, {}, "no-rules", "no comparison rule counts: every score is 0",
        "add rules, or set ignore to 0");
  } else if (count(kMatching) > INT16_MAX) {
    Add(kMatching, {}, "too-many-rules", "more than 32767 rules cannot be loaded", "remove some");
  }
  if (rules_.cutoff.rows.empty()) {
    Add(kCutoff, {}, "not-loaded", "there is no cut-off: the rules do not load",
        "add a row with PotentialPatientMatch");
  } else if (rules_.cutoff.rows.size() > 1) {
    Add(kCutoff, {}, "cutoff-rows", "of several cut-offs only the first row counts",
        "keep one row");
  }
}

// Gives the greatest sum that the rules can reach.
double RuleCheck::CheckWeights() {
  double most = 0;
  double least = 0;
  for (const CheckedRule& rule : checked_) {
    if (rule.info != &kMatching) continue;
    const RuleTable::Row& row = rules_.matching.rows[rule.row];
    const double weight = ToDouble(rules_.matching.Value(row, "Weight"));
    (weight > 0 ? most : least) += weight;
    if (std::abs(weight) <= 0.5) {
      Add(rule, "weight-lost",
          std::abs(weight) < 0.5
              ? "the weight " + Decimal(weight) + " is rounded away: the rule never adds anything"
              : "half a point counts only where the score before it is odd",
          kWholeWeights);
    } else if (weight != std::floor(weight)) {
      const double below = std::floor(weight);
      Add(rule, "rounding-shift",
          "the score is rounded after this rule, so full agreement adds " +
              (weight - below == 0.5 ? Decimal(below) + " or " + Decimal(below + 1)
                                     : Decimal(RoundHalfEven(weight))) +
              ", not " + Decimal(weight),
          kWholeWeights);
    }
    const Variant parameter = rules_.matching.Value(row, "StringComparatorParam");
    if (!rule.exact && !parameter.IsNull() &&
        (ToDouble(parameter) < 0 || ToDouble(parameter) > 3)) {
      Add(rule, "comparator-unknown",
          "there is no comparator " + ToText(parameter) + "; comparator 0 is used",
          "write 0, 1, 2 or 3 into StringComparatorParam");
    }
  }
  if (most > INT16_MAX || least < INT16_MIN) {
    Add(kMatching, {}, "score-overflow",
        "the weights add up beyond 32767: such a pair ends the search with an overflow",
        "use smaller weights");
  }
  return most;
}

void RuleCheck::CheckCutoff(double most) {
  if (rules_.cutoff.rows.empty()) return;
  const RuleTable::Row& row = rules_.cutoff.rows.front();
  if (!WhyNotLoaded(kCutoff, rules_.cutoff, row).empty()) return;
  const double cutoff = ToDouble(rules_.cutoff.Value(row, "PotentialPatientMatch"));
  if (cutoff <= 0) {
    Add(kCutoff, 0, "cutoff-zero",
        "a pair that agrees in nothing scores 0 and reaches the cut-off " + Decimal(cutoff),
        "choose a cut-off with 'qm match --all --summary' and 'qm evaluate'");
  } else if (cutoff > most) {
    Add(kCutoff, 0, "cutoff-unreachable",
        "full agreement in all rules gives " + Decimal(most) + ", less than the cut-off " +
            Decimal(cutoff),
        "lower the cut-off or raise weights");
  }
}

void RuleCheck::CheckColumns(CheckedRule& rule) {
  const bool comparison = rule.info == &kMatching;
  const bool plain = rule.expression.find("<<") == std::string::npos;
  if (!plain && rule.expression.find('(') == std::string::npos) {
    Add(rule, "expression-fails",
        "without a parenthesis it is taken for a column's name, and there is none of that name",
        "put the expression into parentheses");
    rule.evaluable = false;
    return;
  }
  for (const std::string& field : rule.fields) {
    if (!abstract_columns_.empty() && !ContainsName(abstract_columns_, field)) {
      Add(rule, "abstract-column",
          "the table Abstracts has no column " + field + ": every search fails",
          "name a column of Abstracts; a phonetic code is Soundex(<<LastName>>)");
      rule.evaluable = false;
    }
    if (comparison && !ContainsName(CandidateColumns(), field)) {
      Add(rule, "candidate-column",
          "the search does not select the patient's " + field + ": every search fails",
          "only soundex, race1, sex, lastname, firstname, middlename, birthdate and socsec can be "
          "compared");
      rule.evaluable = false;
    } else if (rule.evaluable && !ContainsName(RemoteColumns(), field)) {
      Add(rule, "remote-column",
          "a search over a connection of its own does not select the abstract's " + field +
              " and fails",
          "use race1, sex, lastname, firstname, middlename, birthdate and socsec alone where "
          "applications search so");
    }
  }
  const ScriptWords words = WordsOf(rule.fields.empty() || !plain ? rule.expression : "");
  for (const std::string& name : words.unknown) {
    Add(rule, "unknown-name", "nothing is named " + name + ", so it counts as an empty value",
        ContainsName(abstract_columns_, name) ? "write <<" + name + ">> for the field"
                                              : "correct the name");
  }
  if (words.remark) {
    Add(rule, "remark", "what follows the apostrophe is taken for a remark",
        "write texts in double quotes");
  }
}

void RuleCheck::CheckBlockingColumn(const CheckedRule& rule) {
  const std::string condition = rule.patient_field + " = ''";
  try {
    connection_->Execute("SELECT PatientID FROM Patients WHERE 1 = 2 AND " + condition);
  } catch (const Error&) {
    Add(rule, "patient-column",
        "PatientField " + rule.patient_field + " is no column of Patients: every search fails",
        "name a column of Patients");
    return;
  }
  if (HasIndexFor(rule.patient_field)) return;
  Add(rule, "blocking-index",
      "no index serves " + rule.patient_field + ": every search reads all patients",
      "make an index on that column of Patients, or block on one that has an index");
}

// SQLite tells how it would search, of an expression too; elsewhere the catalog tells of columns.
bool RuleCheck::HasIndexFor(const std::string& patient_field) const {
  try {
    const auto plan = connection_->Execute("EXPLAIN QUERY PLAN SELECT * FROM Patients WHERE " +
                                           patient_field + " = ''");
    return plan->Eof() || !ToTextOrEmpty(plan->Value("detail")).starts_with("SCAN");
  } catch (const Error&) {
    const DatabaseCatalog catalog(connection_);
    const auto is_patients = [](const std::string& table) {
      return EqualsIgnoreCase(table, "Patients");
    };
    const std::vector<std::string> tables = catalog.Tables();
    const auto patients = std::ranges::find_if(tables, is_patients);
    return patients == tables.end() ||
           ContainsName(catalog.IndexedColumns(*patients), UnquoteName(patient_field));
  }
}

void RuleCheck::CheckIgnoredValues(const CheckedRule& rule) {
  std::string outside;
  bool inside = false;
  for (const char c : rule.not_values.value_or("")) {
    if (c == '\'') {
      inside = !inside;
      outside += ' ';
    } else if (!inside) {
      outside += c;
    }
  }
  const std::size_t word = outside.find_first_not_of(" ,;|/\t\r\n");
  if (word == std::string::npos && !inside) return;
  Add(rule, "ignore-unquoted",
      "a value is looked for together with its quotes, so a word without them keeps nothing from "
      "blocking: " +
          std::string(Trim(word == std::string::npos ? *rule.not_values : outside)),
      "write each value in single quotes: '999999999'");
}

void RuleCheck::CheckDuplicates() {
  std::map<std::string, const CheckedRule*> seen;
  for (const CheckedRule& rule : checked_) {
    std::string same = std::string(rule.info->table) + '\n' + rule.expression + '\n';
    if (rule.info == &kBlocking) {
      same += LowerCase(rule.patient_field);
    } else {
      const auto& row = rules_.matching.rows[rule.row];
      const Variant parameter = rules_.matching.Value(row, "StringComparatorParam");
      same += rule.exact ? "exact" : parameter.IsNull() ? "0" : ToText(parameter);
    }
    const auto [at, first] = seen.emplace(std::move(same), &rule);
    if (first) continue;
    const RuleTable& table = rules_.*rule.info->member;
    Add(rule, "duplicate",
        "the same as rule " + RuleKey(*rule.info, table, table.rows[at->second->row]) +
            (rule.info == &kBlocking ? ": it brings nobody new" : ": its weight counts twice"),
        "remove one of them");
  }
}

std::vector<RuleFinding> RuleCheck::Run(const RuleCheckProgress& progress) {
  CollectRules();
  CheckTables();
  CheckCutoff(CheckWeights());
  CheckDuplicates();
  for (CheckedRule& rule : checked_) {
    CheckColumns(rule);
    if (rule.info != &kBlocking) continue;
    CheckBlockingColumn(rule);
    CheckIgnoredValues(rule);
  }
  CheckOnRecords(*this, checked_, progress);
  std::ranges::stable_sort(
      findings_, {}, [](const Placed& placed) { return std::pair(placed.table, placed.row); });
  std::vector<RuleFinding> findings;
  for (Placed& placed : findings_) findings.push_back(std::move(placed.finding));
  return findings;
}

std::vector<RuleFinding> CheckMatchRules(const std::shared_ptr<Connection>& connection,
                                         const MatchRules& rules,
                                         const RuleCheckProgress& progress) {
  return RuleCheck(connection, rules).Run(progress);
}

}  // namespace qm

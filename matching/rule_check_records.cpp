// What rules do with records: made-up ones, which show what could happen on an empty registry, and
// all patients and abstracts, which show how often it does.
#include <algorithm>
#include <array>
#include <map>
#include <set>

#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/recordset.h>

#include "matching/match_field.h"
#include "matching/match_scorer.h"
#include "matching/rule_check.h"
#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::size_t kExamples = 5;
// Cut values are kept until there are so many of them that they are worth telling anyway.
constexpr std::size_t kCutValues = 10000;
// A few long surnames are no surprise: one value in so many may be cut, unless two become equal.
constexpr std::int64_t kCutShare = 1000;

enum Group { kProbes, kPatients, kAbstracts, kGroups };

struct Tally {
  std::int64_t records = 0;
  std::int64_t failed = 0;
  std::int64_t swallowed = 0;
  std::int64_t cut = 0;
  std::int64_t quotes = 0;
};

struct Trial {
  const CheckedRule* rule = nullptr;
  std::array<Tally, kGroups> tallies{};
  std::string failure;
  std::vector<std::string> examples;              // real values swallowed
  std::vector<std::string> probes;                // made-up ones
  std::map<std::string, std::string> cut_values;  // what is left, and of what
  std::string example_cut;
  std::int64_t collisions = 0;
  bool blocks_empty = false;

  std::int64_t Real(std::int64_t Tally::*count) const {
    return tallies[kPatients].*count + tallies[kAbstracts].*count;
  }
  std::string Counts(std::int64_t Tally::*count) const {
    const auto part = [&](Group group, const char* what) {
      return std::to_string(tallies[group].*count) + " of " +
             std::to_string(tallies[group].records) + what;
    };
    const std::string abstracts = part(kAbstracts, " abstracts");
    return rule->patient_field.empty() ? part(kPatients, " patients and ") + abstracts : abstracts;
  }
};

void AddExample(std::vector<std::string>& examples, const std::string& value) {
  if (examples.size() < kExamples && std::ranges::count(examples, value) == 0) {
    examples.push_back(value);
  }
}

std::string Listed(const std::vector<std::string>& values) {
  std::string text;
  for (const std::string& value : values) text.append(text.empty() ? "" : ", ").append(value);
  return text;
}

void CountValue(Trial& trial, Group group, const std::string& quoted) {
  const std::string value = UpperCase(quoted);
  const std::string buffer = ComparedText(value);
  const std::string compared(Trim(buffer));
  Tally& tally = trial.tallies[group];
  const auto& missing = trial.rule->not_values;
  if (!compared.empty() && missing && missing->find(compared) != std::string::npos &&
      !StandsAlone(*missing, compared)) {
    ++tally.swallowed;
    AddExample(group == kProbes ? trial.probes : trial.examples, compared);
  }
  if (CharacterCount(value) <= kComparedCharacters + 2) return;
  ++tally.cut;
  if (trial.example_cut.empty()) trial.example_cut = value;
  if (group == kProbes || trial.cut_values.size() == kCutValues) return;
  const auto [at, first] = trial.cut_values.emplace(compared, value);
  if (!first && at->second != value) ++trial.collisions;
}

bool HoldsQuote(const CheckedRule& rule, const Recordset& record) {
  if (rule.expression.find("<<") == std::string::npos) return false;
  return std::ranges::any_of(rule.fields, [&](const std::string& field) {
    return ToTextOrEmpty(record.Value(field)).find('"') != std::string::npos;
  });
}

void Try(Trial& trial, Group group, const Recordset& record) {
  const CheckedRule& rule = *trial.rule;
  const bool blocking = !rule.patient_field.empty();
  if (!rule.evaluable || (blocking && group == kPatients)) return;
  Tally& tally = trial.tallies[group];
  ++tally.records;
  if (group != kProbes && HoldsQuote(rule, record)) ++tally.quotes;
  try {
    std::string expression = rule.expression;
    const std::string value = EvaluateMatchField(expression, record, ValueText::kEscaped);
    if (!blocking) CountValue(trial, group, value);
    // The first made-up record is the empty one.
    if (group == kProbes && tally.records == 1) trial.blocks_empty = blocking && value == "''";
  } catch (const Error& error) {
    ++tally.failed;
    if (trial.failure.empty()) {
      trial.failure = "error " + std::to_string(error.number()) +
                      (error.engine_code() == 0 ? ": " + std::string(error.description()) : "");
    }
  }
}

// Made-up records: an empty one, one with long names, one whose values are the usual ones for
// unknown, and those whose name is one letter or whose code is one of the codes of sex and race.
std::string ProbeQuery(const std::vector<std::string>& columns) {
  using Values = std::map<std::string, std::string>;
  std::vector<Values> probes = {{},
                                {{"lastname", "FEATHERSTONEHAUGH"},
                                 {"firstname", "CHRISTOPHER"},
                                 {"middlename", "ALEXANDER"},
                                 {"soundex", "F362"},
                                 {"birthdate", "19470211"},
                                 {"socsec", "900123456"},
                                 {"sex", "1"},
                                 {"race1", "01"}}};
  probes.push_back(probes[1]);
  probes.back()["birthdate"] = "99999999";
  probes.back()["socsec"] = "999999999";
  for (char letter = 'A'; letter <= 'Z'; ++letter) {
    Values probe = probes[1];
    for (const char* name : {"lastname", "firstname", "middlename"}) {
      probe[name] = std::string(1, letter);
    }
    probes.push_back(std::move(probe));
  }
  for (int code = 1; code < 100; ++code) {
    // The codes that the two items have.
    const bool race = code <= 8 || (code >= 10 && code <= 17) || (code >= 20 && code <= 22) ||
                      (code >= 25 && code <= 28) || (code >= 30 && code <= 32) || code >= 96;
    if (!race) continue;
    Values probe = probes[1];
    const std::string digits = std::to_string(code);
    probe["race1"] = code < 10 ? "0" + digits : digits;
    if (code <= 6 || code == 99) probe["sex"] = digits.substr(0, 1);
    probes.push_back(std::move(probe));
  }
  std::string query;
  for (Values& probe : probes) {
    query += query.empty() ? "SELECT " : " UNION ALL SELECT ";
    for (const std::string& column : columns) {
      const char* separator = &column == columns.data() ? "'" : ", '";
      query.append(separator).append(probe[LowerCase(column)]).append("' AS [").append(column);
      query += ']';
    }
  }
  return query;
}

class Trials {
 public:
  Trials(RuleCheck& check, const std::vector<CheckedRule>& rules, const RuleCheckProgress& progress)
      : check_(check), progress_(progress) {
    for (const CheckedRule& rule : rules) trials_.emplace_back().rule = &rule;
  }

  void Run() {
    std::vector<std::string> fields;
    for (const Trial& trial : trials_) {
      for (const std::string& field : trial.rule->fields) {
        if (trial.rule->evaluable && !ContainsName(fields, field)) fields.push_back(field);
      }
    }
    if (!fields.empty()) {
      const bool abstracts = !check_.abstract_columns().empty();
      const std::int64_t patients = Count("Patients");
      total_ = patients + (abstracts ? Count("Abstracts") : 0);
      TryAll(kProbes, ProbeQuery(fields));
      if (patients > 0)
        TryAll(kPatients, "SELECT " + Listed(CandidateColumns()) + " from Patients");
      if (abstracts) TryAll(kAbstracts, "SELECT " + Bracketed(fields) + " FROM Abstracts");
    }
    for (const Trial& trial : trials_) {
      TellFailures(trial);
      TellValues(trial);
      if (trial.blocks_empty) TellEmpty(*trial.rule);
    }
  }

 private:
  static std::string Bracketed(const std::vector<std::string>& fields) {
    std::string list;
    for (const std::string& field : fields) {
      list.append(list.empty() ? "[" : ", [").append(field).append("]");
    }
    return list;
  }

  std::int64_t Count(const std::string& table) const {
    return ToInt32(check_.connection()->Execute("SELECT count(*) FROM " + table)->Value(0));
  }

  void TryAll(Group group, const std::string& query) {
    const auto records = check_.connection()->Execute(query);
    for (const Recordset& record : records->Rows()) {
      for (Trial& trial : trials_) Try(trial, group, record);
      if (group != kProbes && progress_) progress_(++done_, total_);
    }
  }

  void TellFailures(const Trial& trial) {
    if (!trial.failure.empty()) {
      const bool everywhere = trial.tallies[kProbes].failed == trial.tallies[kProbes].records;
      const bool really = trial.Real(&Tally::failed) > 0;
      const std::string where = everywhere ? "fails"
                                : really   ? "fails for " + trial.Counts(&Tally::failed)
                                           : "fails where a field is empty, short or unknown";
      check_.Add(*trial.rule, "expression-fails",
                 where + " (" + trial.failure + "); that ends the whole search",
                 everywhere ? "correct the expression; 'qm eval' tries it"
                            : "make it stand empty and unusual values; 'qm eval' tries it");
    }
    if (trial.Real(&Tally::quotes) > 0) {
      check_.Add(*trial.rule, "quote-in-value",
                 "a double quote stands in a field of " + trial.Counts(&Tally::quotes) +
                     "; in applications it ends the search, 'qm match' takes it",
                 "remove the quotes from those records, or name the field without an expression");
    }
  }

  void TellValues(const Trial& trial) {
    const CheckedRule& rule = *trial.rule;
    if (!rule.patient_field.empty()) return;
    const std::int64_t swallowed = trial.Real(&Tally::swallowed);
    if (swallowed > 0 || !trial.probes.empty()) {
      check_.Add(rule, "missing-swallows",
                 swallowed > 0 ? "the values of " + trial.Counts(&Tally::swallowed) +
                                     " count as missing, since the text of MissingValues holds "
                                     "them as pieces, e.g. " +
                                     Listed(trial.examples)
                               : "values would count as missing, since the text of MissingValues "
                                 "holds them as pieces, e.g. " +
                                     Listed(trial.probes),
                 "remove the words that hold them; a missing value that should not count can be "
                 "emptied by an expression: Replace(<<Field>>, \"UNKNOWN\", \"\")");
    }
    if (rule.not_values && UpperCase(*rule.not_values) != *rule.not_values) {
      check_.Add(rule, "missing-case",
                 "values are compared in capitals, so a word of MissingValues with small letters "
                 "is never found",
                 "write it in capitals");
    }
    const std::int64_t cut = trial.Real(&Tally::cut);
    const std::int64_t records = trial.Real(&Tally::records);
    if (trial.collisions > 0 || cut * kCutShare > records || trial.tallies[kProbes].cut > 0) {
      check_.Add(rule, "long-value",
                 "24 characters of a value are compared; " +
                     (cut > 0 ? "longer are " + trial.Counts(&Tally::cut) : "longer can be some") +
                     ", e.g. " + trial.example_cut +
                     (trial.collisions > 0 ? "; different ones become equal" : ""),
                 "make the expression shorter, or split it into two rules");
    }
  }

  void TellEmpty(const CheckedRule& rule) {
    if (rule.not_values && rule.not_values->find("''") != std::string::npos) return;
    std::string many;
    try {
      const auto count = Count("Patients WHERE " + rule.patient_field + " = ''");
      if (count > 0) many = std::to_string(count) + " ";
    } catch (const Error&) {
      // The column is not there, which another finding tells.
    }
    check_.Add(rule, "ignore-empty",
               "an abstract without this value is compared with all " + many + "patients whose " +
                   rule.patient_field + " is empty",
               "add '' (two single quotes) to ignorevalues");
  }

  RuleCheck& check_;
  const RuleCheckProgress& progress_;
  std::vector<Trial> trials_;
  std::int64_t done_ = 0;
  std::int64_t total_ = 0;
};

}  // namespace

void CheckOnRecords(RuleCheck& check, const std::vector<CheckedRule>& rules,
                    const RuleCheckProgress& progress) {
  Trials(check, rules, progress).Run();
}

}  // namespace qm

// qm match: for an abstract, or for all, the registered patients that may be the same person.
#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/evaluation.h>
#include <qm/matcher.h>
#include <qm/recordset.h>

#include <array>
#include <cstdio>
#include <iostream>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <utility>

#include "matching/batch_search.h"
#include "matching/candidate_search.h"
#include "review/declined_pairs.h"
#include "tool/databases.h"
#include "tool/report_error.h"
#include "tool/summary_tables.h"
#include "tool/terminal.h"
#include "tool/tool.h"

namespace qm::tool {

namespace {

struct MatchArguments {
  std::optional<std::int32_t> abstract;
  bool all = false;
  std::optional<std::int16_t> cutoff;
  bool explain = false;
  bool summary = false;
  bool with_declined = false;
  std::int64_t memory = 0;  // MiB
};

// From this share of the patients on, reading all of them is the quicker way.
constexpr std::int64_t kPatientsOfARecord = 1000;

std::vector<Column> MatchColumns(bool explain) {
  std::vector<Column> columns = {{"AbsRefID", true},          {"Rank", true},
                                 {"PatientID", true},         {"Score", true},
                                 {"LastName", false},         {"FirstName", false},
                                 {"MiddleName", false},       {"PatientLastName", false},
                                 {"PatientFirstName", false}, {"PatientMiddleName", false}};
  if (explain) {
    columns.insert(columns.end(), {{"AbstractValue", false},
                                   {"PatientValue", false},
                                   {"Comparison", false},
                                   {"Agreement", true},
                                   {"Weight", true},
                                   {"Added", true},
                                   {"Rule", false}});
  }
  return columns;
}

std::string Decimal(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.10g", value);
  return text;
}

std::vector<std::string> RuleCells(const RuleScore& rule) {
  return {rule.abstract_value,
          rule.patient_value,
          rule.skipped ? "skipped"
          : rule.exact ? "exact"
                       : "approximate",
          rule.skipped ? "" : std::to_string(rule.agreement),
          Decimal(rule.weight),
          std::to_string(rule.added),
          rule.expression};
}

// The pair's own cells stand on its first line only where people read.
void WriteCandidate(ResultWriter& results, Format format, std::vector<std::string> pair,
                    const std::vector<RuleScore>& rules) {
  if (rules.empty()) results.Row(pair);
  for (const RuleScore& rule : rules) {
    std::vector<std::string> cells = pair;
    for (std::string& cell : RuleCells(rule)) cells.push_back(std::move(cell));
    results.Row(std::move(cells));
    if (format == Format::kTable) pair.assign(pair.size(), "");
  }
}

// What is told of an abstract.
constexpr std::array kShown = {"AbsRefID", "LastName", "FirstName", "MiddleName"};

class MatchCommand {
 public:
  MatchCommand(const MatchArguments& arguments, Tool& tool)
      : arguments_(arguments),
        tool_(tool),
        results_(std::cout, tool.settings.format, MatchColumns(arguments.explain)) {}

  void Run() {
    const auto registry = OpenDatabase(tool_, Database::kRegistry);
    const Settings& settings = tool_.settings;
    const auto matching =
        settings.matching.empty() ? registry : OpenDatabase(tool_, Database::kMatching);
    tool_.doing = [] { return "reading the matching rules" + RuleInWork(); };
    Matcher().ReadMatchingParams(ConnectionStringOf(settings, Database::kMatching));
    const auto id = std::make_shared<std::int32_t>(0);
    tool_.doing = [id] {
      return *id == 0 ? "reading the abstracts"
                      : "matching abstract " + std::to_string(*id) + RuleInWork();
    };
    if (arguments_.summary) {
      Summarize(registry, matching, *id);
      return;
    }

    const auto abstracts = registry->CreateRecordset();
    abstracts->Open("SELECT * FROM Abstracts" + Selection(), registry, kOpenForwardOnly,
                    kLockReadOnly);
    if (arguments_.abstract && abstracts->Eof()) {
      tool_.doing = nullptr;
      throw Error(kErrNoCurrentRecord, "qm match",
                  "abstract " + std::to_string(*arguments_.abstract) + " does not exist");
    }
    if (!arguments_.with_declined) declined_ = DeclinedPairs();
    const std::int64_t total = CountAbstracts(registry);
    std::int64_t done = 0;
    if (IsWorthReadingAll(matching, total) && !MatchInMemory(matching, *abstracts, *id, done)) {
      abstracts->Close();
      abstracts->Open("SELECT * FROM Abstracts" + Selection(), registry, kOpenForwardOnly,
                      kLockReadOnly);
      for (std::int64_t i = 0; i < done && !abstracts->Eof(); ++i) abstracts->MoveNext();
    }
    MatchOneByOne(matching, *abstracts, total, *id, done);
    results_.Finish();
  }

 private:
  void Summarize(const std::shared_ptr<Connection>& registry,
                 const std::shared_ptr<Connection>& matching, std::int32_t& id) const {
    EvaluationOptions options;
    options.cutoff = arguments_.cutoff;
    MatchSummary summary;
    {
      ProgressBar bar("matching");
      options.progress = [&](std::int32_t abstract, std::int64_t done, std::int64_t total) {
        id = abstract;
        bar.Show(done, total);
      };
      summary = SummarizeMatching(registry, matching, options);
    }
    WriteSummary(std::cout, tool_.settings.format, summary);
  }

  std::string Selection() const {
    return arguments_.abstract ? " WHERE AbsRefID = " + std::to_string(*arguments_.abstract)
                               : " ORDER BY AbsRefID";
  }

  std::int64_t CountAbstracts(const std::shared_ptr<Connection>& registry) const {
    return arguments_.abstract ? 1 : Count(registry, "Abstracts");
  }

  static std::int64_t Count(const std::shared_ptr<Connection>& connection,
                            const std::string& table) {
    return ToInt32(connection->Execute("SELECT count(*) FROM " + table)->Value(0));
  }

  // No more patients are counted than decide, where the engine can do that.
  bool IsWorthReadingAll(const std::shared_ptr<Connection>& matching, std::int64_t total) const {
    if (arguments_.abstract) return false;
    const std::int64_t most = total * kPatientsOfARecord;
    const std::string few = "(SELECT 1 FROM Patients LIMIT " + std::to_string(most + 1) + ") few";
    for (const std::string& patients : {few, std::string("Patients")}) {
      try {
        return Count(matching, patients) <= most;
      } catch (const Error&) {
        continue;  // one by one, a lack is told in its own words
      }
    }
    return false;
  }

  // From the current one to the end.
  void MatchOneByOne(const std::shared_ptr<Connection>& matching, Recordset& abstracts,
                     std::int64_t total, std::int32_t& id, std::int64_t done) {
    if (abstracts.Eof()) return;
    ProgressBar bar("matching");
    std::vector<std::string> shown(kShown.size());
    for (const Recordset& abstract : abstracts.Rows()) {
      id = ToInt32(abstract.Value("AbsRefID"));
      const auto candidates = FindCandidates(matching, abstract, SearchOptions());
      for (std::size_t i = 0; i < kShown.size() && !candidates.empty(); ++i) {
        shown[i] = ToTextOrEmpty(abstract.Value(kShown[i]));
      }
      WriteMatches(id, shown, candidates);
      bar.Show(++done, total);
    }
  }

  // False, with so many done, when the registry's own way of blocking cannot be had in memory, or
  // anything failed: then one by one it fails in its own words, or not at all.
  bool MatchInMemory(const std::shared_ptr<Connection>& matching, Recordset& abstracts,
                     std::int32_t& id, std::int64_t& done) {
    ProgressBar bar("matching");
    bool writes = false;
    BatchOptions options;
    options.candidates = SearchOptions();
    options.memory = arguments_.memory << 20U;
    options.shown.assign(kShown.begin(), kShown.end());
    options.reading =
        options.searching = [&](std::int64_t some, std::int64_t all) { bar.Show(some, all); };
    try {
      BatchSearch(matching, std::move(options))
          .Run(abstracts, [&](const BatchSearch::Record& record) {
            const auto& candidates = record.Candidates();
            id = ToInt32(Variant(record.Shown()[0]));
            writes = true;
            WriteMatches(id, record.Shown(), candidates);
            writes = false;
            ++done;
          });
    } catch (const Error&) {
      if (writes) throw;
      id = 0;
      return false;
    }
    return true;
  }

  CandidateOptions SearchOptions() const {
    CandidateOptions options;
    options.escape_quotes = true;
    options.ties = TieOrder::kPatientId;
    options.cutoff = arguments_.cutoff;
    options.explain = arguments_.explain;
    return options;
  }

  void WriteMatches(std::int32_t id, std::span<const std::string> shown,
                    std::span<const Candidate> candidates) {
    int rank = 0;
    for (const Candidate& candidate : candidates) {
      if (declined_.contains({id, candidate.match.patient_id})) continue;
      WriteCandidate(
          results_, tool_.settings.format,
          {std::to_string(id), std::to_string(++rank), std::to_string(candidate.match.patient_id),
           std::to_string(candidate.match.score), shown[1], shown[2], shown[3], candidate.lastname,
           candidate.firstname, candidate.middlename},
          candidate.rules);
    }
  }

  const MatchArguments& arguments_;
  Tool& tool_;
  ResultWriter results_;
  std::set<std::pair<std::int32_t, std::int32_t>> declined_;
};

}  // namespace

void AddMatch(CLI::App& app, Tool& tool) {
  const auto arguments = std::make_shared<MatchArguments>();
  CLI::App* command = AddCommand(
      app, tool, "match",
      "list for an abstract, or for all, the registered patients that may be the same person");
  AddDatabaseOptions(*command, tool, true);
  AddFormatOption(*command, tool);
  auto* abstract =
      command->add_option("--abstract", arguments->abstract, "identifier of one abstract")
          ->type_name("ID");
  auto* all = command->add_flag("--all", arguments->all, "every abstract, in the order of import");
  abstract->excludes(all);
  command
      ->add_option("--cutoff", arguments->cutoff,
                   "least score that is listed; default: the one kept with the rules")
      ->type_name("N");
  auto* explain = command->add_flag("--explain", arguments->explain,
                                    "for each pair what each rule compared and added");
  command
      ->add_flag("--summary", arguments->summary,
                 "instead of the pairs: histogram of scores, what each blocking rule brings, links "
                 "and ties for each cut-off")
      ->needs(all)
      ->excludes(explain);
  command
      ->add_option("--memory", arguments->memory,
                   "MiB that the patients may take in memory; more are gone through in parts")
      ->type_name("MIB")
      ->check(CLI::Range(std::int64_t{1}, std::int64_t{1} << 30U))
      ->needs(all);
  command->add_flag("--with-declined", arguments->with_declined,
                    "also the pairs that a reviewer declined");
  command->callback([arguments, &tool] {
    RequireDatabase(tool.settings, Database::kRegistry);
    if (!arguments->abstract && !arguments->all) {
      throw CLI::RequiredError("--abstract ID or --all");
    }
    tool.run = [arguments, &tool] { MatchCommand(*arguments, tool).Run(); };
  });
}

}  // namespace qm::tool

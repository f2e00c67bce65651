// qm match: for an abstract, or for all, the registered patients that may be the same person.
#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/evaluation.h>
#include <qm/matcher.h>
#include <qm/recordset.h>

#include <cstdio>
#include <iostream>
#include <memory>
#include <optional>
#include <set>
#include <utility>

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
};

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
    ProgressBar bar("matching");
    const std::int64_t total = CountAbstracts(registry);
    std::int64_t done = 0;
    for (const Recordset& abstract : abstracts->Rows()) {
      *id = ToInt32(abstract.Value("AbsRefID"));
      WriteMatches(matching, abstract, *id);
      bar.Show(++done, total);
    }
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
    if (arguments_.abstract) return 1;
    return ToInt32(registry->Execute("SELECT count(*) FROM Abstracts")->Value(0));
  }

  void WriteMatches(const std::shared_ptr<Connection>& matching, const Recordset& abstract,
                    std::int32_t id) {
    CandidateOptions options;
    options.escape_quotes = true;
    options.ties = TieOrder::kPatientId;
    options.cutoff = arguments_.cutoff;
    options.explain = arguments_.explain;
    int rank = 0;
    for (const Candidate& candidate : FindCandidates(matching, abstract, options)) {
      if (declined_.contains({id, candidate.match.patient_id})) continue;
      WriteCandidate(
          results_, tool_.settings.format,
          {std::to_string(id), std::to_string(++rank), std::to_string(candidate.match.patient_id),
           std::to_string(candidate.match.score), ToTextOrEmpty(abstract.Value("LastName")),
           ToTextOrEmpty(abstract.Value("FirstName")), ToTextOrEmpty(abstract.Value("MiddleName")),
           candidate.lastname, candidate.firstname, candidate.middlename},
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

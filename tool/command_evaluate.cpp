// qm evaluate: how often the matching rules are right about abstracts whose patients are known.
#include <qm/error.h>
#include <qm/evaluation.h>
#include <qm/matcher.h>

#include <cstdio>
#include <iostream>
#include <memory>
#include <optional>

#include "tool/databases.h"
#include "tool/read_file.h"
#include "tool/report_error.h"
#include "tool/terminal.h"
#include "tool/tool.h"

namespace qm::tool {

namespace {

struct EvaluateArguments {
  std::string truth;
  std::optional<std::int16_t> cutoff;
  std::int32_t first_abstract = 1;
  EvaluationOptions options;
};

std::string Share(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.4f", value);
  return text;
}

std::vector<std::string> AccuracyCells(const Accuracy& accuracy) {
  return {std::to_string(accuracy.found), std::to_string(accuracy.right), Share(accuracy.precision),
          Share(accuracy.recall), Share(accuracy.f1)};
}

// Every row of CSV and JSON says of how many abstracts it speaks; people read it once.
void Write(const MatchEvaluation& evaluation, Format format) {
  std::vector<Column> columns = {
      {"CutOff", true},     {"Note", false},         {"Found", true},      {"Right", true},
      {"Precision", true},  {"Recall", true},        {"F1", true},         {"Pairs", true},
      {"RightPairs", true}, {"PairPrecision", true}, {"PairRecall", true}, {"PairF1", true}};
  const bool table = format == Format::kTable;
  if (table) {
    std::cout << evaluation.abstracts << " abstracts, " << evaluation.registered
              << " of registered patients, " << evaluation.not_blocked
              << " of them without their patient among the candidates.\n"
              << "The cut-off kept with the rules is " << evaluation.cutoff
              << "; the one that serves best is " << evaluation.best << ".\n\n";
  } else {
    columns.insert(columns.end(),
                   {{"Abstracts", true}, {"Registered", true}, {"NotBlocked", true}});
  }
  ResultWriter results(std::cout, format, columns);
  for (const CutoffAccuracy& at : evaluation.cutoffs) {
    const bool best = at.cutoff == evaluation.best;
    const bool kept = at.cutoff == evaluation.cutoff;
    std::vector<std::string> cells = {std::to_string(at.cutoff), best && kept ? "kept, best"
                                                                 : best       ? "best"
                                                                 : kept       ? "kept"
                                                                              : ""};
    for (const Accuracy& accuracy : {at.best, at.pairs}) {
      for (std::string& cell : AccuracyCells(accuracy)) cells.push_back(std::move(cell));
    }
    if (!table) {
      for (const auto count :
           {evaluation.abstracts, evaluation.registered, evaluation.not_blocked}) {
        cells.push_back(std::to_string(count));
      }
    }
    results.Row(std::move(cells));
  }
  results.Finish();
}

void Evaluate(const EvaluateArguments& arguments, Tool& tool) {
  tool.doing = [&arguments] { return "reading " + arguments.truth; };
  const Truth truth = ReadTruth(ReadFile(arguments.truth), arguments.first_abstract);
  const auto registry = OpenDatabase(tool, Database::kRegistry);
  const Settings& settings = tool.settings;
  const auto matching =
      settings.matching.empty() ? registry : OpenDatabase(tool, Database::kMatching);
  tool.doing = [] { return "reading the matching rules" + RuleInWork(); };
  Matcher().ReadMatchingParams(ConnectionStringOf(settings, Database::kMatching));

  EvaluationOptions options = arguments.options;
  options.cutoff = arguments.cutoff;
  const auto id = std::make_shared<std::int32_t>(0);
  tool.doing = [id] { return "matching abstract " + std::to_string(*id) + RuleInWork(); };
  std::optional<MatchEvaluation> evaluation;
  {
    ProgressBar bar("matching");
    options.progress = [&](std::int32_t abstract, std::int64_t done, std::int64_t total) {
      *id = abstract;
      bar.Show(done, total);
    };
    evaluation = EvaluateMatching(registry, matching, truth, options);
  }
  tool.doing = nullptr;
  Write(*evaluation, settings.format);
}

}  // namespace

void AddEvaluate(CLI::App& app, Tool& tool) {
  const auto arguments = std::make_shared<EvaluateArguments>();
  CLI::App* command =
      AddCommand(app, tool, "evaluate",
                 "precision and recall of the matching rules for each cut-off, by the truth about "
                 "abstracts, and the cut-off that serves best");
  command
      ->add_option("TRUTH", arguments->truth,
                   "CSV with the columns PatientID (empty: not registered) and AbsRefID or Line")
      ->type_name("TRUTH.csv")
      ->required();
  AddDatabaseOptions(*command, tool, true);
  AddFormatOption(*command, tool);
  command
      ->add_option("--first-abstract", arguments->first_abstract,
                   "identifier of the abstract that line 1 became; default 1")
      ->type_name("ID");
  command
      ->add_option("--cutoff", arguments->cutoff,
                   "shown as the kept cut-off; default: the one kept with the rules")
      ->type_name("N");
  command->add_option("--step", arguments->options.step, "between the cut-offs listed; default 5")
      ->type_name("N")
      ->check(CLI::Range(1, 1000));
  command->callback([arguments, &tool] {
    RequireDatabase(tool.settings, Database::kRegistry);
    tool.run = [arguments, &tool] { Evaluate(*arguments, tool); };
  });
}

}  // namespace qm::tool

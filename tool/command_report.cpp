// qm report: a page in which reviewers decide which abstracts and patients are the same person.
#include <qm/matcher.h>
#include <qm/report_page.h>

#include <iostream>
#include <memory>
#include <optional>

#include "runtime/path_text.h"
#include "tool/databases.h"
#include "tool/report_error.h"
#include "tool/terminal.h"
#include "tool/tool.h"

namespace qm::tool {

namespace {

struct ReportArguments {
  std::string file;
  std::optional<std::int16_t> cutoff;
  bool replace = false;
};

void Report(const ReportArguments& arguments, Tool& tool) {
  OpenDatabase(tool, Database::kControl);
  ReportOptions options;
  options.matching = OpenDatabase(tool, Database::kRegistry);
  if (!tool.settings.matching.empty()) options.matching = OpenDatabase(tool, Database::kMatching);
  tool.doing = [] { return "reading the matching rules" + RuleInWork(); };
  Matcher().ReadMatchingParams(ConnectionStringOf(tool.settings, Database::kMatching));

  const auto id = std::make_shared<std::int32_t>(0);
  tool.doing = [id] {
    return *id == 0 ? "beginning the report"
                    : "reporting abstract " + std::to_string(*id) + RuleInWork();
  };
  options.cutoff = arguments.cutoff;
  options.replace = arguments.replace;
  ReportSummary summary;
  {
    ProgressBar bar("matching");
    options.progress = [&](std::int32_t abstract, std::int64_t done, std::int64_t total) {
      *id = abstract;
      bar.Show(done, total);
    };
    summary = WriteReportPage(PathOf(arguments.file), options);
  }
  std::cout << "reported " << summary.pairs << " pairs of " << summary.abstracts << " abstracts in "
            << arguments.file << "; " << summary.unmatched << " abstracts have no candidate\n";
}

}  // namespace

void AddReport(CLI::App& app, Tool& tool) {
  const auto arguments = std::make_shared<ReportArguments>();
  CLI::App* command = AddCommand(
      app, tool, "report",
      "write a page (HTML, one file, for any browser) in which reviewers decide about the pairs at "
      "or above the cut-off; qm link takes the decisions that it saves");
  AddDatabaseOptions(*command, tool, true);
  command->add_option("-o,--output", arguments->file, "the page to write")
      ->required()
      ->type_name("FILE");
  command
      ->add_option("--cutoff", arguments->cutoff,
                   "least score that is shown; default: the one kept with the rules")
      ->type_name("N");
  command->add_flag("--replace", arguments->replace, "replace a file that is there already");
  command->callback([arguments, &tool] {
    RequireDatabase(tool.settings, Database::kRegistry);
    RequireDatabase(tool.settings, Database::kControl);
    tool.run = [arguments, &tool] { Report(*arguments, tool); };
  });
}

}  // namespace qm::tool

// qm check: tells what a registry lacks that the library expects, and what to do about it.
#include <qm/registry_check.h>

#include <iostream>

#include "tool/databases.h"
#include "tool/result_writer.h"
#include "tool/terminal.h"
#include "tool/tool.h"

namespace qm::tool {

namespace {

void Check(Tool& tool) {
  const auto control = OpenDatabase(tool, Database::kControl);
  const auto registry = OpenDatabase(tool, Database::kRegistry);
  tool.doing = [] { return "checking the registry"; };
  std::vector<RegistryFinding> findings;
  {
    ProgressBar bar("checking");
    findings = CheckRegistry(registry, control, [&bar](std::int64_t done, std::int64_t total) {
      bar.Show(done, total);
    });
  }
  tool.doing = nullptr;
  tool.exit_code = findings.empty() ? kDone : kFailed;
  if (tool.settings.format == Format::kTable) {
    for (const RegistryFinding& finding : findings) {
      std::cout << finding.code << "  " << finding.table << "\n    " << finding.what
                << ".\n    To do: " << finding.advice << ".\n";
    }
    std::cout << "registry checked: "
              << (findings.empty() ? "nothing found" : std::to_string(findings.size()) + " found")
              << '\n';
    return;
  }
  ResultWriter results(std::cout, tool.settings.format, {{"Code"}, {"Table"}, {"What"}, {"ToDo"}});
  for (const RegistryFinding& finding : findings) {
    results.Row({finding.code, finding.table, finding.what, finding.advice});
  }
  results.Finish();
}

}  // namespace

void AddCheck(CLI::App& app, Tool& tool) {
  CLI::App* command = AddCommand(
      app, tool, "check",
      "tell what a registry lacks that the library expects (tables, columns, keys, counters, "
      "rules, "
      "indexes, comparison of texts), and what to do; exit code 1 when there is something");
  AddDatabaseOptions(*command, tool);
  AddFormatOption(*command, tool);
  command->callback([&tool] {
    RequireDatabase(tool.settings, Database::kRegistry);
    RequireDatabase(tool.settings, Database::kControl);
    tool.run = [&tool] { Check(tool); };
  });
}

}  // namespace qm::tool

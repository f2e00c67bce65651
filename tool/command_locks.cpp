// qm locks: who holds what, since when.
#include <iostream>

#include "tool/databases.h"
#include "tool/locks.h"
#include "tool/record_argument.h"
#include "tool/tool.h"

namespace qm::tool {

namespace {

void ListLocks(Tool& tool) {
  const auto registry = OpenDatabase(tool, Database::kRegistry);
  tool.doing = [] { return "reading the locks"; };
  ResultWriter results(
      std::cout, tool.settings.format,
      {{"Kind", false}, {"ID", false}, {"User", false}, {"Name", false}, {"Since", false}});
  for (const char* kind : {kCaseName, kAbstractName, kTablesName}) {
    const std::string shown = kind == std::string(kTablesName) ? "table" : kind;
    for (const HeldLock& lock : HeldLocks(*registry, kind)) {
      results.Row({shown, lock.id, lock.user, lock.name, lock.since});
    }
  }
  results.Finish();
}

}  // namespace

void AddLocks(CLI::App& app, Tool& tool) {
  CLI::App* command = AddCommand(app, tool, "locks",
                                 "list who holds which cases, abstracts and tables, and since when "
                                 "(of tables no time is kept)");
  AddDatabaseOptions(*command, tool);
  AddFormatOption(*command, tool);
  command->callback([&tool] {
    RequireDatabase(tool.settings, Database::kRegistry);
    tool.run = [&tool] { ListLocks(tool); };
  });
}

}  // namespace qm::tool

// qm unlink: takes abstracts out of the cases that they were linked to.
#include <qm/linker.h>

#include <iostream>
#include <memory>
#include <vector>

#include "tool/databases.h"
#include "tool/record_argument.h"
#include "tool/tool.h"
#include "tool/user.h"

namespace qm::tool {

namespace {

struct UnlinkArguments {
  std::vector<std::int32_t> abstracts;
  bool discard_changes = false;
};

// All of them or none.
void Unlink(const UnlinkArguments& arguments, Tool& tool) {
  OpenDatabase(tool, Database::kControl);
  Transaction transaction(OpenRegistryToChange(tool, "qm unlink"));
  Linker linker;
  for (const std::int32_t abstract : arguments.abstracts) {
    tool.doing = [abstract] { return "unlinking abstract " + std::to_string(abstract); };
    linker.Unlink(abstract, arguments.discard_changes);
  }
  tool.doing = [] { return "unlinking"; };
  transaction.Commit();
  for (const std::int32_t abstract : arguments.abstracts) {
    std::cout << "abstract " << abstract << " unlinked\n";
  }
}

}  // namespace

void AddUnlink(CLI::App& app, Tool& tool) {
  const auto arguments = std::make_shared<UnlinkArguments>();
  CLI::App* command = AddCommand(
      app, tool, "unlink",
      "undo links: the tumor that a link added is deleted, a patient that it made too; several "
      "abstracts in the order given, all of them or none");
  command->add_option("ABSTRACT", arguments->abstracts, "identifiers of linked abstracts")
      ->required()
      ->check(IsIdentifier)
      ->type_name("");
  command->add_flag("--discard-changes", arguments->discard_changes,
                    "also when those records were changed since; the changes are lost");
  AddDatabaseOptions(*command, tool);
  AddUserOption(*command, tool);
  command->callback([arguments, &tool] {
    RequireDatabase(tool.settings, Database::kRegistry);
    RequireDatabase(tool.settings, Database::kControl);
    tool.run = [arguments, &tool] { Unlink(*arguments, tool); };
  });
}

}  // namespace qm::tool

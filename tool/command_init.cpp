// qm init: makes the databases of a registry.
#include <qm/qm_connection.h>
#include <qm/registry_setup.h>

#include <iostream>
#include <memory>

#include "runtime/path_text.h"
#include "tool/databases.h"
#include "tool/terminal.h"
#include "tool/tool.h"

namespace qm::tool {

namespace {

void Init(const RegistrySetup& setup, Tool& tool) {
  const Settings& settings = tool.settings;
  const std::string place = settings.folder.empty() ? "the databases" : settings.folder;
  Narrate("making the registry in " + place);
  if (settings.registry.empty() && settings.control.empty()) {
    tool.doing = [place] { return "making the registry in " + place; };
    CreateRegistryFolder(PathOf(settings.folder), setup);
  } else {
    const auto control = OpenDatabase(tool, Database::kControl);
    const auto registry = OpenDatabase(tool, Database::kRegistry);
    tool.doing = [place] { return "making the registry in " + place; };
    CreateRegistry(registry, control, setup);
  }
  std::cout << "made a registry in " << place << '\n';
}

}  // namespace

void AddInit(CLI::App& app, Tool& tool) {
  const auto setup = std::make_shared<RegistrySetup>();
  CLI::App* command = AddCommand(
      app, tool, "init",
      "make the databases of a registry, with record layouts and default rules; a folder that "
      "holds one already is left as it is");
  AddDatabaseOptions(*command, tool);
  command
      ->add_option("--layout", setup->layouts,
                   "record layouts to keep; default: all. The newest is the default layout")
      ->type_name("VERSION")
      ->check(CLI::IsMember(ShippedLayouts()));
  command->callback([setup, &tool] {
    RequireDatabase(tool.settings, Database::kRegistry);
    RequireDatabase(tool.settings, Database::kControl);
    tool.run = [setup, &tool] { Init(*setup, tool); };
  });
}

}  // namespace qm::tool

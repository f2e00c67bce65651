// qm copy: moves a registry to another place, from one engine to another.
#include <qm/error.h>
#include <qm/qm_connection.h>
#include <qm/registry_copy.h>
#include <qm/registry_setup.h>

#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>

#include "runtime/path_text.h"
#include "tool/result_writer.h"
#include "tool/terminal.h"
#include "tool/tool.h"

namespace qm::tool {

namespace fs = std::filesystem;

namespace {

struct Places {
  std::string from;
  std::string to;
  std::string from_control;
  std::string to_control;
};

bool IsFolder(const std::string& place) { return place.find('=') == std::string::npos; }

std::shared_ptr<Connection> OpenPlace(const std::string& text, int timeout) {
  const auto seconds = static_cast<std::int16_t>(timeout);
  return QMConnection().Connect(text, qmModeReadWrite, seconds, seconds);
}

// A connection string names both databases at once, unless the other one is given.
RegistryPair Open(const std::string& place, const std::string& control, int timeout) {
  if (IsFolder(place)) {
    const auto file = [&](const char* name) {
      return OpenPlace(SqliteConnectionString(PathOf(place) / name), timeout);
    };
    return {file("registry.db"), file("control.db")};
  }
  const auto registry = OpenPlace(place, timeout);
  return {registry, control.empty() ? registry : OpenPlace(control, timeout)};
}

void RequireRegistry(const std::string& folder) {
  for (const char* name : {"registry.db", "control.db"}) {
    const fs::path file = PathOf(folder) / name;
    if (!fs::exists(file)) {
      throw Error(kFileNotFound, "qm", "no database at " + PathText(file));
    }
  }
}

void Copy(const Places& places, Tool& tool) {
  tool.doing = [] { return "opening what is to be copied"; };
  if (IsFolder(places.from)) RequireRegistry(places.from);
  const RegistryPair from = Open(places.from, places.from_control, tool.settings.timeout);
  tool.doing = [] { return "opening the place to copy to"; };
  if (IsFolder(places.to)) MakeEmptyFolder(PathOf(places.to));
  const RegistryPair to = Open(places.to, places.to_control, tool.settings.timeout);

  auto doing = std::make_shared<std::string>("copying");
  tool.doing = [doing] { return *doing; };
  std::vector<CopiedTable> copied;
  {
    std::optional<ProgressBar> bar;
    std::string shown;
    copied =
        CopyRegistry(from, to, [&](std::string_view now, std::int64_t done, std::int64_t total) {
          *doing = now;
          if (shown != now) {
            bar.reset();
            bar.emplace(*doing);
            shown = now;
          }
          bar->Show(done, total);
        });
  }
  tool.doing = nullptr;
  ResultWriter results(std::cout, tool.settings.format, {{"Table"}, {"Rows", true}, {"Digest"}});
  for (const CopiedTable& table : copied) {
    results.Row({table.name, std::to_string(table.rows), table.digest});
  }
  results.Finish();
}

}  // namespace

void AddCopy(CLI::App& app, Tool& tool) {
  const auto places = std::make_shared<Places>();
  CLI::App* command = AddCommand(
      app, tool, "copy",
      "copy a registry to another place, from one database engine to another, and compare every "
      "table at the end; an interrupted copy goes on when it is run again. Nobody may write "
      "meanwhile");
  command->add_option("FROM", places->from, "folder or connection string of the registry")
      ->required();
  command
      ->add_option("TO", places->to,
                   "folder or connection string; empty there, or a registry without records")
      ->required();
  command
      ->add_option("--from-control", places->from_control,
                   "connection string of the control database, where it is another one")
      ->type_name("CONN");
  command
      ->add_option("--to-control", places->to_control,
                   "connection string of the control database, where it is another one")
      ->type_name("CONN");
  command
      ->add_option("--timeout", tool.settings.timeout,
                   "seconds that a busy database is waited for, 0 without end; default 15")
      ->type_name("SECONDS")
      ->check(CLI::Range(0, 32767));
  AddFormatOption(*command, tool);
  command->callback([places, &tool] { tool.run = [places, &tool] { Copy(*places, tool); }; });
}

}  // namespace qm::tool

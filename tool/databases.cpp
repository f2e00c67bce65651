#include "tool/databases.h"

#include <qm/error.h>
#include <qm/qm_connection.h>
#include <qm/registry_setup.h>

#include <cstdlib>
#include <filesystem>
#include <limits>

#include "session/own_tables.h"
#include "tool/user.h"

namespace qm::tool {

namespace fs = std::filesystem;

namespace {

constexpr std::int32_t kFileNotFound = 53;
/// Of the two applications that layouts are kept for, the registry's own.
constexpr const char* kApplication = "Velmora";

const char* NameOf(Database database) {
  switch (database) {
    case Database::kRegistry:
      return "registry";
    case Database::kControl:
      return "control";
    case Database::kMatching:
      return "matching";
  }
  return "";
}

const std::string& OptionOf(const Settings& settings, Database database) {
  if (database == Database::kControl) return settings.control;
  const bool own = database == Database::kMatching && !settings.matching.empty();
  return own ? settings.matching : settings.registry;
}

fs::path FileOf(const Settings& settings, Database database) {
  return fs::path(settings.folder) /
         (database == Database::kControl ? "control.db" : "registry.db");
}

// The environment names databases where the command line names no folder: a trial's folder is never
// beaten by the strings of the registry in use.
void TakeFromEnvironment(Settings& settings, bool matching) {
  if (!settings.folder.empty()) return;
  const auto take = [](std::string& option, const char* variable) {
    const char* value = std::getenv(variable);
    if (option.empty() && value != nullptr) option = value;
  };
  take(settings.registry, "QM_REGISTRY");
  take(settings.control, "QM_CONTROL");
  if (matching) take(settings.matching, "QM_MATCHING");
}

}  // namespace

void AddDatabaseOptions(CLI::App& command, Tool& tool, bool matching) {
  Settings& settings = tool.settings;
  command.parse_complete_callback(
      [&settings, matching] { TakeFromEnvironment(settings, matching); });
  command.add_option("-d", settings.folder, "folder with registry.db and control.db")
      ->type_name("DIR");
  command
      .add_option("--registry", settings.registry,
                  "connection string of the registry database; without -d, default: QM_REGISTRY")
      ->type_name("CONN");
  command
      .add_option("--control", settings.control,
                  "connection string of the control database; without -d, default: QM_CONTROL")
      ->type_name("CONN");
  if (matching) {
    command
        .add_option("--matching", settings.matching,
                    "connection string of the database with matching rules and patients; "
                    "without -d, default: QM_MATCHING, else the registry")
        ->type_name("CONN");
  }
  command
      .add_option("--timeout", settings.timeout,
                  "seconds that a busy database is waited for, 0 without end; default 15")
      ->type_name("SECONDS")
      ->check(CLI::Range(0, int{std::numeric_limits<std::int16_t>::max()}));
}

void RequireDatabase(const Settings& settings, Database database) {
  if (settings.folder.empty() && OptionOf(settings, database).empty()) {
    throw CLI::RequiredError(std::string("-d DIR or --") + NameOf(database) + " CONN");
  }
}

std::string ConnectionStringOf(const Settings& settings, Database database) {
  const std::string& option = OptionOf(settings, database);
  if (!option.empty()) return option;
  return SqliteConnectionString(FileOf(settings, database));
}

std::shared_ptr<Connection> OpenDatabase(Tool& tool, Database database) {
  const Settings& settings = tool.settings;
  const bool by_folder = OptionOf(settings, database).empty();
  const std::string file = FileOf(settings, database).string();
  if (by_folder && !fs::exists(file)) {
    throw Error(
        kFileNotFound, "qm",
        std::string("no ") + NameOf(database) + " database at " + file + "; 'qm init' makes one");
  }
  tool.doing = [text = std::string("opening the ") + NameOf(database) + " database" +
                       (by_folder ? " " + file : "")] { return text; };
  QMConnection session;
  session.SetApplicationName(kApplication);
  const auto timeout = static_cast<std::int16_t>(settings.timeout);
  auto connection =
      session.Connect(ConnectionStringOf(settings, database), qmModeReadWrite, timeout, timeout);
  if (database == Database::kRegistry) {
    session.SetRegistry(connection);
    session.SetUser(UserName(settings));
  }
  if (database == Database::kControl) session.SetControl(connection);
  tool.doing = nullptr;
  return connection;
}

std::shared_ptr<Connection> OpenRegistryToChange(Tool& tool, const std::string& command) {
  RequireUser(tool.settings, command);
  auto connection = OpenDatabase(tool, Database::kRegistry);
  tool.doing = [] { return "preparing the registry's own tables"; };
  EnsureOwnTables();
  tool.doing = nullptr;
  return connection;
}

}  // namespace qm::tool

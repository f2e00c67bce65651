#include <qm/registry_setup.h>

#include <qm/error.h>

#include <array>
#include <chrono>
#include <optional>
#include <system_error>

#include "dataaccess/database_catalog.h"
#include "dataaccess/sql_scanner.h"
#include "runtime/private_file.h"
#include "runtime/text.h"
#include "setup/database_file.h"
#include "setup/schema.h"

namespace qm {

namespace fs = std::filesystem;

namespace {

constexpr const char* kSource = "QMDataObjects.RegistrySetup";
constexpr std::array kDatabaseFiles = {"registry.db", "control.db"};
// Where the files are built: this, the process, and when.
constexpr const char* kWorkFolder = ".setup-";
// What a database in use, or one whose user was interrupted, keeps beside itself.
constexpr std::array kCompanions = {"", "-wal", "-shm", "-journal"};

// A table that is there already would be noticed in the middle of the work, which some engines
// cannot take back.
void RequireNoTables(const std::shared_ptr<Connection>& connection,
                     const std::vector<std::string>& statements) {
  const std::vector<std::string> there = DatabaseCatalog(connection).Tables();
  for (const std::string& statement : statements) {
    SqlScanner scanner(statement);
    if (!scanner.Next().Is("CREATE") || !scanner.Next().Is("TABLE")) continue;
    const std::string table = UnquoteName(scanner.Next().text);
    if (!ContainsName(there, table)) continue;
    throw Error(kErrIntegrity, kSource,
                "The database holds a registry already: there is a table " + table + ".");
  }
}

void Run(Connection& connection, const std::vector<std::string>& statements) {
  for (const std::string& statement : statements) connection.Execute(statement);
}

[[noreturn]] void RefuseFolder(const fs::path& found) {
  throw Error(kErrIntegrity, kSource,
              "The folder holds a registry already: " + found.string() + " exists.");
}

// Whether a setup was killed after it had placed the first file: that one is a link to the file
// that the setup had built, and nobody has used it since.
bool IsHalfPlaced(const fs::path& folder) {
  const fs::path placed = folder / kDatabaseFiles[0];
  std::error_code missing;
  for (const fs::path& work : Leftovers(folder / kWorkFolder, fs::file_type::directory)) {
    if (fs::equivalent(placed, work / kDatabaseFiles[0], missing) &&
        fs::last_write_time(placed) <= fs::last_write_time(work)) {
      return true;
    }
  }
  return false;
}

// Refuses a folder with a registry; what a killed setup had half placed is taken away.
void RequireNoRegistry(const fs::path& folder) {
  bool half_placed = false;
  for (const std::string file : kDatabaseFiles) {
    for (const char* companion : kCompanions) {
      const fs::path path = folder / (file + companion);
      if (fs::symlink_status(path).type() == fs::file_type::not_found) continue;
      half_placed = path == folder / kDatabaseFiles[0] && IsHalfPlaced(folder);
      if (!half_placed) RefuseFolder(path);
    }
  }
  if (half_placed) fs::remove(folder / kDatabaseFiles[0]);
}

void MakePrivateFolder(const fs::path& folder) {
  fs::create_directory(folder);
  fs::permissions(folder, fs::perms::owner_all);
}

// A folder inside the registry's, for its owner alone, that goes with its scope, and the registry's
// folder with it when that was made for it and holds nothing.
class WorkFolder {
 public:
  explicit WorkFolder(const fs::path& folder) : folder_(folder) {
    if (!fs::exists(folder)) {
      if (folder.has_parent_path()) fs::create_directories(folder.parent_path());
      MakePrivateFolder(folder);
      made_ = true;
    }
    const auto stamp = std::chrono::system_clock::now().time_since_epoch().count();
    path_ = folder / (kWorkFolder + ProcessNumber() + "-" + std::to_string(stamp));
    MakePrivateFolder(path_);
  }
  ~WorkFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
    if (made_) fs::remove(folder_, ignored);  // fails, as it should, when there is something in it
  }
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;

  fs::path File(const char* name) const { return path_ / name; }

 private:
  fs::path folder_;
  fs::path path_;
  bool made_ = false;
};

// Puts a file in place without ever replacing one that came about meanwhile.
void Place(const fs::path& from, const fs::path& to) {
  std::error_code code;
  fs::create_hard_link(from, to, code);
  if (!code) return;
  if (fs::exists(to)) RefuseFolder(to);
  fs::rename(from, to);  // a file system without links
}

void BuildFolder(const fs::path& folder, const RegistrySetup& setup) {
  RequireNoRegistry(folder);
  const WorkFolder work(folder);
  const auto registry = MakeDatabaseFile(work.File(kDatabaseFiles[0]));
  const auto control = MakeDatabaseFile(work.File(kDatabaseFiles[1]));
  CreateRegistry(registry, control, setup);
  registry->Close();
  control->Close();
  Place(work.File(kDatabaseFiles[0]), folder / kDatabaseFiles[0]);
  try {
    Place(work.File(kDatabaseFiles[1]), folder / kDatabaseFiles[1]);
  } catch (...) {
    fs::remove(folder / kDatabaseFiles[0]);
    throw;
  }
  std::error_code ignored;
  for (const fs::path& left : Leftovers(folder / kWorkFolder, fs::file_type::directory)) {
    fs::remove_all(left, ignored);
  }
}

}  // namespace

void CreateRegistry(const std::shared_ptr<Connection>& registry,
                    const std::shared_ptr<Connection>& control, const RegistrySetup& setup) {
  const std::vector<ShippedLayout> layouts = LoadShippedLayouts(setup.layouts);
  const std::vector<std::string> registry_tables = RegistryTables(layouts);
  const std::vector<std::string> control_tables = ControlTables(layouts);
  RequireNoTables(registry, registry_tables);
  RequireNoTables(control, control_tables);
  Transaction registry_transaction(registry);
  std::optional<Transaction> control_transaction;
  if (control != registry) control_transaction.emplace(control);
  for (const auto& statements :
       {registry_tables, KeyIndexes(), MatchingIndexes(), RegistryRows(), DefaultRules()}) {
    Run(*registry, statements);
  }
  Run(*control, control_tables);
  if (control_transaction) control_transaction->Commit();
  registry_transaction.Commit();
}

void CreateRegistryFolder(const fs::path& folder, const RegistrySetup& setup) {
  LoadShippedLayouts(setup.layouts);  // an unknown name is refused before anything is made
  try {
    BuildFolder(folder, setup);
  } catch (const fs::filesystem_error& error) {
    throw Error(kErrEngine, kSource, error.what());
  }
}

void MakeEmptyFolder(const fs::path& folder) {
  try {
    if (!fs::exists(folder)) {
      if (folder.has_parent_path()) fs::create_directories(folder.parent_path());
      MakePrivateFolder(folder);
    }
    for (const char* name : kDatabaseFiles) {
      if (!fs::exists(folder / name)) MakeDatabaseFile(folder / name)->Close();
    }
  } catch (const fs::filesystem_error& error) {
    throw Error(kErrEngine, kSource, error.what());
  }
}

std::string SqliteConnectionString(const fs::path& file) {
  std::string quoted;
  for (const char c : file.string()) {
    if (c == '"') quoted += c;
    quoted += c;
  }
  return "Provider=SQLite;Data Source=\"" + quoted + "\"";
}

}  // namespace qm

#include "setup/database_file.h"

#include <qm/recordset.h>
#include <qm/registry_setup.h>

#include <fstream>

#include "runtime/owner_only.h"

namespace qm {

namespace fs = std::filesystem;

std::shared_ptr<Connection> MakeDatabaseFile(const fs::path& file) {
  std::ofstream created(file);
  created.close();
  KeepForOwner(file);
  auto connection = Connection::Create();
  connection->Open(SqliteConnectionString(file));
  // The mode stays with the file.
  connection->Execute("PRAGMA journal_mode=WAL")->Close();
  return connection;
}

}  // namespace qm

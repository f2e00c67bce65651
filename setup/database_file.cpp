#include "setup/database_file.h"

#include <qm/recordset.h>
#include <qm/registry_setup.h>

#include <fstream>

namespace qm {

namespace fs = std::filesystem;

std::shared_ptr<Connection> MakeDatabaseFile(const fs::path& file) {
  std::ofstream created(file);
  created.close();
  fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
  auto connection = Connection::Create();
  connection->Open(SqliteConnectionString(file));
  // The mode stays with the file.
  connection->Execute("PRAGMA journal_mode=WAL")->Close();
  return connection;
}

}  // namespace qm

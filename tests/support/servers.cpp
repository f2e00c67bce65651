#include "support/servers.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include <qm/error.h>
#include <qm/recordset.h>

#include "support/sqlite_fixture.h"

// PostgreSQL's driver keeps the last answer of a connection that its server closed.
extern "C" const char* __lsan_default_suppressions();   // NOLINT(bugprone-reserved-identifier)
extern "C" const char* __lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier)
  return "leak:psqlodbcw.so\n";
}

namespace qm::test {

namespace {

// The connection string with another database.
std::string WithDatabase(std::string text, const std::string& name) {
  constexpr std::string_view kKeyword = "Database=";
  const std::size_t at = text.find(kKeyword);
  if (at == std::string::npos) return text + ";Database=" + name;
  const std::size_t start = at + kKeyword.size();
  return text.replace(start, std::min(text.find(';', start), text.size()) - start, name);
}

}  // namespace

ScratchDatabase::ScratchDatabase(const std::string& engine) {
  if (engine == "SQLite") {
    connection_string_ = SqliteConnectionString(MakeDatabase(folder_.File("a.db"), ""));
    return;
  }
  const bool postgres = engine == "PostgreSQL";
  const char* variable = postgres ? "QM_TEST_POSTGRESQL" : "QM_TEST_MARIADB";
  const char* server = std::getenv(variable);
  if (server == nullptr || *server == '\0') {
    missing_ = std::string(variable) + " names no server";
    return;
  }
  server_ = server;
  static int made = 0;
  name_ = "qm_test_" + std::to_string(getpid()) + "_" + std::to_string(++made);
  auto connection = Connection::Create();
  connection->Open(server_);
  connection->Execute("CREATE DATABASE " + name_);
  drop_ = "DROP DATABASE " + name_ + (postgres ? " WITH (FORCE)" : "");
  connection_string_ = WithDatabase(server_, name_);
}

ScratchDatabase::~ScratchDatabase() {
  if (drop_.empty()) return;
  try {
    auto connection = Connection::Create();
    connection->Open(server_);
    connection->Execute(drop_);
  } catch (const Error&) {
    // The server is gone; what is left goes with its folder.
  }
}

std::shared_ptr<Connection> ScratchDatabase::Open(std::int32_t command_timeout) const {
  auto connection = Connection::Create();
  connection->SetCommandTimeout(command_timeout);
  connection->Open(connection_string_);
  return connection;
}

}  // namespace qm::test

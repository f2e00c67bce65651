// ScratchDatabase: an empty database of a test's own on one of the engines: SQLite always,
// PostgreSQL and MariaDB where QM_TEST_POSTGRESQL and QM_TEST_MARIADB hold a connection string
// whose user may make databases there (`scripts/servers` starts such servers). Gone with its scope.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <qm/connection.h>

#include "support/temp_folder.h"

namespace qm::test {

inline constexpr const char* kEngines[] = {"SQLite", "PostgreSQL", "MariaDB"};

class ScratchDatabase {
 public:
  explicit ScratchDatabase(const std::string& engine);
  ~ScratchDatabase();
  ScratchDatabase(const ScratchDatabase&) = delete;
  ScratchDatabase& operator=(const ScratchDatabase&) = delete;

  /// Why there is none; empty when there is one.
  const std::string& Missing() const { return missing_; }
  const std::string& ConnectionString() const { return connection_string_; }
  /// A connection whose statements wait that many seconds for others.
  std::shared_ptr<Connection> Open(std::int32_t command_timeout = 1) const;

 private:
  TempFolder folder_;
  std::string server_;  // the connection string of the database that was there
  std::string name_;
  std::string drop_;
  std::string missing_;
  std::string connection_string_;
};

}  // namespace qm::test

// The small registry with the matching tables, and the columns that matching reads.
#pragma once

#include <memory>
#include <string>

#include <qm/matcher.h>

#include "support/small_registry.h"

namespace qm::test {

class MatchRegistry : public SmallRegistry {
 public:
  MatchRegistry() {
    ChangeRegistry(
        "DROP TABLE Patients;"
        "CREATE TABLE Patients (PatientID INTEGER PRIMARY KEY, soundex TEXT, race1 TEXT, sex TEXT,"
        " lastname TEXT, firstname TEXT, middlename TEXT, birthdate TEXT, socsec TEXT);"
        "CREATE TABLE tblMatchingParameters (FieldName, Weight, MissingValues, ExactMatch,"
        " StringComparatorParam, AliasName, ignore);"
        "CREATE TABLE tblBlockingParameters (AbstractField, PatientField, ignorevalues);"
        "CREATE TABLE tblTLCParameters (PotentialPatientMatch);"
        "INSERT INTO tblTLCParameters VALUES (10);"
        "DELETE FROM Abstracts;");
    for (const char* column : {"race1", "sex", "firstname", "middlename", "birthdate", "socsec"}) {
      ChangeRegistry(std::string("ALTER TABLE Abstracts ADD COLUMN ") + column + " TEXT");
    }
    data_sets.GetNAACCRLayout();
    database = OpenSqlite(registry_path);
  }

  std::string ConnectionText() const { return test::SqliteConnectionString(registry_path); }

  /// Rows of a table, in place of those it had.
  void Fill(const std::string& table, const std::string& rows) const {
    ChangeRegistry("DELETE FROM " + table + ";");
    if (!rows.empty()) ChangeRegistry("INSERT INTO " + table + " VALUES " + rows + ";");
  }
  /// Loads comparison rules: (FieldName, Weight, MissingValues, ExactMatch, parameter), ….
  void LoadRules(const std::string& rows) {
    ChangeRegistry("DELETE FROM tblMatchingParameters;");
    if (!rows.empty()) {
      ChangeRegistry(
          "INSERT INTO tblMatchingParameters (FieldName, Weight, MissingValues, ExactMatch,"
          " StringComparatorParam) VALUES " +
          rows + "; UPDATE tblMatchingParameters SET ignore = 0;");
    }
    matcher.ReadMatchingParams(ConnectionText());
  }
  /// A row of values: `SELECT` + columns.
  std::shared_ptr<Recordset> Row(const std::string& columns) const {
    return database->Execute("SELECT " + columns);
  }

  std::shared_ptr<Connection> database;
  Matcher matcher;
};

}  // namespace qm::test

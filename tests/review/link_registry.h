// The small registry with what linking needs: locks, matching by name, own tables, and abstracts of
// which one has two candidates, one has one, one has none, and one was linked by another
// application.
#pragma once

#include <qm/audit_log.h>
#include <qm/linker.h>
#include <qm/matcher.h>

#include <string>

#include "session/own_tables.h"
#include "support/small_registry.h"

namespace qm::test {

inline std::string LinkScript() {
  std::string script = RegistryScript();
  for (const char* table : {"Patients", "Abstracts"}) {
    for (const char* column : {"Race1", "Sex", "FirstName", "MiddleName"}) {
      script += std::string("ALTER TABLE ") + table + " ADD COLUMN " + column + " TEXT;";
    }
  }
  return script +
         "ALTER TABLE Patients ADD COLUMN Soundex TEXT; ALTER TABLE Patients ADD COLUMN BirthDate;"
         "ALTER TABLE Patients ADD COLUMN CaseLockedBy TEXT;"
         "ALTER TABLE Patients ADD COLUMN CaseLockedTime TEXT;"
         "ALTER TABLE Abstracts ADD COLUMN AbstractLockedBy TEXT;"
         "CREATE TABLE USERS (USERID TEXT PRIMARY KEY, NAME TEXT);"
         "CREATE TABLE tblMatchingParameters (FieldName, Weight, MissingValues, ExactMatch,"
         " StringComparatorParam, AliasName, ignore);"
         "INSERT INTO tblMatchingParameters VALUES ('lastname', 60, '', 1, 0, '', 0),"
         " ('firstname', 40, '', 1, 0, '', 0);"
         "CREATE TABLE tblBlockingParameters (AbstractField, PatientField, ignorevalues);"
         "INSERT INTO tblBlockingParameters VALUES ('lastname', 'lastname', NULL);"
         "CREATE TABLE tblTLCParameters (PotentialPatientMatch);"
         "INSERT INTO tblTLCParameters VALUES (50);"
         "INSERT INTO BaseIDs VALUES ('MedRefID', 100);"
         "DELETE FROM Abstracts WHERE AbsRefID = 8; DELETE FROM Abstracts_2 WHERE AbsRefID = 8;"
         "DELETE FROM Abstracts_3 WHERE AbsRefID = 8;"
         "UPDATE Abstracts SET PatientID = NULL, MedRefID = NULL, LastName = 'Li', FirstName = 'An'"
         " WHERE AbsRefID = 5;"
         "INSERT INTO Patients (PatientID, LastName, FirstName) VALUES (10, 'Li', 'An');"
         "INSERT INTO Patients_2 VALUES (10, '', '');"
         "UPDATE Patients SET FirstName = 'Bo' WHERE PatientID = 9;"
         "INSERT INTO Abstracts (AbsRefID, PatientID, MedRefID, LastName, FirstName, Remarks) "
         "VALUES"
         " (11, 0, NULL, 'Garcia', 'Eva', NULL), (12, NULL, 0, 'O''Neil', 'Ed', 'hx');"
         "INSERT INTO Abstracts_2 (AbsRefID) VALUES (11), (12);"
         "INSERT INTO Abstracts_3 (AbsRefID) VALUES (11), (12);";
}

/// Abstract 5 is LI, AN: patients 10 (score 100) and 9 (60); 11 is GARCIA: patient 7 (60); 12 is
/// O'NEIL: nobody; 6 belongs to patient 7 by another application.
struct LinkRegistry {
  LinkRegistry()
      : control(MakeDatabase(folder.File("control.db"), ControlScript(SmallFields()))),
        registry(MakeDatabase(folder.File("registry.db"), LinkScript())) {
    Connect(control, registry);
  }
  /// Fills the thread's session, in this process or another.
  static void Connect(const std::string& control, const std::string& registry) {
    QMConnection session;
    session.SetControl(OpenSqlite(control));
    session.SetRegistry(OpenSqlite(registry));
    session.SetUser("me");
    EnsureOwnTables();
    Matcher().ReadMatchingParams(SqliteConnectionString(registry));
  }
  std::string Query(const std::string& query) const { return QueryText(registry, query); }
  void Change(const std::string& script) const { SqliteFile(registry).Exec(script); }

  TempFolder folder;
  std::string control;
  std::string registry;
  SessionScope session;
  Linker linker;
};

/// Every row of every table, save for the counters and the audit log.
inline std::string AllRows(const std::string& registry) {
  SqliteFile file(registry);
  const std::string tables = file.Query(
      "SELECT group_concat(name, ' ') FROM sqlite_master WHERE type = 'table' AND name NOT IN"
      " ('BaseIDs', 'QMAudit')");
  std::string all;
  for (std::size_t at = 0; at < tables.size();) {
    const std::size_t end = std::min(tables.find(' ', at), tables.size());
    const std::string name = tables.substr(at, end - at);
    all += name + ": " + file.Query("SELECT * FROM " + name + " ORDER BY rowid") + "\n";
    at = end + 1;
  }
  return all;
}

}  // namespace qm::test

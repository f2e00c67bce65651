// A registry of a few fields: a control database that describes them and a registry database with
// the tables of the three families, both opened in a session of the test's own.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <qm/data_sets.h>
#include <qm/qm_connection.h>
#include <qm/session.h>

#include "support/sqlite_fixture.h"

namespace qm::test {

struct SmallField {
  int item;
  std::string name;
  int start;
  int length;
  std::string prompting;
  std::string justification;
  int abstract_code;
  int patient_code;
  int medical_code;
};

/// Texts, a date and one field for each padding rule; three abstract tables, two of the others.
inline std::vector<SmallField> SmallFields() {
  return {
      {10, "RecType", 1, 1, "", "L", 1, 0, 1},       {2230, "LastName", 2, 10, "", "L", 1, 1, 0},
      {240, "BirthDate", 12, 8, "", "D", 2, 2, 0},   {2320, "SocSec", 20, 9, "", "Y", 4, 1, 0},
      {380, "SeqNumCentr", 29, 2, "", "Y", 2, 0, 1}, {500, "Dose", 31, 4, "", "R", 3, 0, 0},
      {2600, "TextDx", 35, 20, "X", "L", 1, 0, 0},   {2510, "TextHx", 55, 20, "X", "L", 1, 0, 0},
      {522, "HistCode", 75, 4, "", "Z", 2, 0, 2}};
}

inline std::string ControlScript(const std::vector<SmallField>& fields) {
  std::string script =
      "CREATE TABLE NAACCRParameters (NAACCRVersion INTEGER, ControlTableName TEXT, NAACCRDATAEXCHG"
      " TEXT, NAACCRGLOBALVALUES TEXT, NAACCRMetaFile TEXT);"
      "INSERT INTO NAACCRParameters VALUES (18, 'Fields', '180', '180,181', 'meta.emf'),"
      " (9, 'Fields', '90', '90', 'old.emf');"
      "CREATE TABLE [NAACCR Versions] (VersionID TEXT, LenAbstract INTEGER, LenIncidence INTEGER,"
      " LenConfidential INTEGER, ColVersionID INTEGER, ColRecType INTEGER, ColProjects INTEGER);"
      "INSERT INTO [NAACCR Versions] VALUES ('18', 78, 30, 34, 17, 1, 5);"
      "CREATE TABLE Fields (NAACCR_Item_No INTEGER, Description TEXT, FieldName TEXT, Prompting "
      "TEXT,"
      " FieldLength INTEGER, patGrid INTEGER, medGrid INTEGER, vlmabsgrid INTEGER, Protected "
      "INTEGER,"
      " ColumnStart INTEGER, Justification TEXT, vlmAbsTable INTEGER, PatTable INTEGER,"
      " MedTable INTEGER, UnknownValues TEXT, PromptingValue TEXT, CTL_Array_vlm INTEGER,"
      " CTL_Array_ts INTEGER);";
  for (const SmallField& f : fields) {
    const auto quoted = [](const std::string& text) { return ",'" + text + "'"; };
    const auto number = [](int value) { return "," + std::to_string(value); };
    script += "INSERT INTO Fields VALUES (" + std::to_string(f.item) + quoted("about " + f.name) +
              quoted(f.name) + quoted(f.prompting) + number(f.length) + ",-1,0,-1,0" +
              number(f.start) + quoted(f.justification) + number(f.abstract_code) +
              number(f.patient_code) + number(f.medical_code) + ",NULL,NULL,-1,-1);";
  }
  return script;
}

inline std::string RegistryScript() {
  return "CREATE TABLE Abstracts (AbsRefID INTEGER PRIMARY KEY, PatientID INTEGER, MedRefID "
         "INTEGER,"
         " RecType TEXT, LastName TEXT, Remarks TEXT, HeldFor2 TEXT, Project5 TEXT);"
         "CREATE TABLE Abstracts_2 (AbsRefID INTEGER PRIMARY KEY, BirthDate TEXT, SeqNumCentr TEXT,"
         " HistCode TEXT);"
         "CREATE TABLE Abstracts_3 (AbsRefID INTEGER PRIMARY KEY, SocSec TEXT, Dose TEXT,"
         " DateFacUpdated TEXT);"
         "CREATE TABLE Patients (PatientID INTEGER PRIMARY KEY, LastName TEXT, SocSec TEXT,"
         " Remarks TEXT);"
         "CREATE TABLE Patients_2 (PatientID INTEGER PRIMARY KEY, BirthDate TEXT, DatePtUpdated "
         "TEXT);"
         "CREATE TABLE MedicalSum (MedRefID INTEGER PRIMARY KEY, PatientID INTEGER, RecType TEXT,"
         " SeqNumCentr TEXT, Remarks TEXT);"
         "CREATE TABLE MedicalSum_2 (MedRefID INTEGER PRIMARY KEY, HistCode TEXT,"
         " DateTumUpdated TEXT);"
         "CREATE TABLE BaseIDs (BaseIDName TEXT PRIMARY KEY, BaseID INTEGER);"
         "INSERT INTO Abstracts VALUES (5, 7, 70, 'A', 'Garcia ', 'hx' || char(2) || 'dx' || "
         "char(2),"
         " 'held', 'five'), (6, 7, 71, 'I', 'Ng', NULL, '', ''), (8, 9, 70, 'A', 'Li', '', '', '');"
         "INSERT INTO Abstracts_2 VALUES (5, '20010203', '1', '80'), (6, '19991231', '2', NULL),"
         " (8, '', '', '');"
         "INSERT INTO Abstracts_3 VALUES (5, '123', '7', 'fac'), (6, '456', '', ''), (8, '', '', "
         "'');"
         "INSERT INTO Patients VALUES (7, 'Garcia', '123', 'note'), (9, 'Li', '', NULL);"
         "INSERT INTO Patients_2 VALUES (7, '20010203', 'pt'), (9, '', '');"
         "INSERT INTO MedicalSum VALUES (70, 7, 'A', '02', NULL), (71, 7, 'I', '01', NULL),"
         " (72, 9, 'A', '00', NULL);"
         "INSERT INTO MedicalSum_2 VALUES (70, '8070', 'tum'), (71, '8140', ''), (72, '', '');"
         "INSERT INTO BaseIDs VALUES ('AbsRefID', 10), ('PatientID', 10);";
}

class SmallRegistry {
 public:
  explicit SmallRegistry(const std::vector<SmallField>& fields = SmallFields())
      : control_path(MakeDatabase(folder.File("control.db"), ControlScript(fields))),
        registry_path(MakeDatabase(folder.File("registry.db"), RegistryScript())) {
    connection.SetControl(OpenSqlite(control_path));
    connection.SetRegistry(OpenSqlite(registry_path));
  }

  std::string Registry(const std::string& query) const { return QueryText(registry_path, query); }
  void ChangeControl(const std::string& script) const { SqliteFile(control_path).Exec(script); }
  void ChangeRegistry(const std::string& script) const { SqliteFile(registry_path).Exec(script); }

  TempFolder folder;
  std::string control_path;
  std::string registry_path;
  SessionScope session;
  QMConnection connection;
  QMDataSets data_sets;
};

}  // namespace qm::test

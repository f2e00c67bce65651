// UpdateAbstract, AddPatient and AddTumor.
#include <gtest/gtest.h>

#include "support/raises.h"
#include "support/small_registry.h"

namespace qm::test {
namespace {

// The text of diagnosis is a tumor's too; abstract 5 is of nobody.
std::vector<SmallField> Fields() {
  std::vector<SmallField> fields = SmallFields();
  for (SmallField& field : fields) {
    if (field.name == "TextDx") field.medical_code = 1;
  }
  return fields;
}

struct ReportRegistry : SmallRegistry {
  ReportRegistry() : SmallRegistry(Fields()) {
    ChangeRegistry(
        "ALTER TABLE Patients ADD COLUMN Soundex TEXT;"
        "INSERT INTO BaseIDs VALUES ('MedRefID', 100);"
        "UPDATE Abstracts SET PatientID = NULL, LastName = 'O''Neil ' WHERE AbsRefID = 5;"
        "UPDATE Abstracts_3 SET SocSec = NULL WHERE AbsRefID = 5;");
    data_sets.GetNAACCRLayout();
  }
  std::string AllRows() const {
    return Registry(
        "SELECT (SELECT count(*) FROM Patients), (SELECT count(*) FROM Patients_2),"
        " (SELECT count(*) FROM MedicalSum), (SELECT count(*) FROM MedicalSum_2),"
        " (SELECT group_concat(BaseID) FROM BaseIDs),"
        " (SELECT group_concat(PatientID || '/' || MedRefID) FROM Abstracts)");
  }
};

TEST(AddRecords, AnAbstractBecomesAPatientWithATumor) {
  ReportRegistry small;
  const std::string before = small.AllRows();
  Abstract report = small.data_sets.GetAbstract(5);
  report.SetAutoFormatValues(true);
  const Failure nobody = Raises([&] { small.data_sets.AddTumor(report); });
  EXPECT_EQ(nobody.number, kErrNoCurrentRecord);
  EXPECT_EQ(nobody.description, "abstract 5 has no patient");

  small.connection.BeginTrans();
  small.data_sets.AddPatient(report);
  small.data_sets.AddTumor(report);
  small.connection.RollBackTrans();
  EXPECT_EQ(small.AllRows(), before);

  report = small.data_sets.GetAbstract(5);
  report.SetAutoFormatValues(true);
  Patient patient = small.data_sets.AddPatient(report);
  EXPECT_EQ(patient.FieldByName("LastName"), Variant("O'Neil "));
  EXPECT_EQ(small.Registry("SELECT * FROM Patients WHERE PatientID = 11"),
            "11|O'Neil |NULL|NULL|O540");
  EXPECT_EQ(small.Registry("SELECT * FROM Patients_2 WHERE PatientID = 11"), "11|20010203|NULL");
  Tumor tumor = small.data_sets.AddTumor(report);
  EXPECT_EQ(tumor.FieldByName("TextDx"), Variant("dx"));
  EXPECT_EQ(small.Registry("SELECT * FROM MedicalSum WHERE MedRefID = 101"),
            "101|11|A|1|\x02"
            "dx\x02");
  EXPECT_EQ(small.Registry("SELECT * FROM MedicalSum_2 WHERE MedRefID = 101"), "101|80|NULL");
  EXPECT_EQ(small.data_sets.GetTumor(kNoId, 11).FieldByName("HistCode"), Variant("80"));
  EXPECT_EQ(small.Registry("SELECT PatientID, MedRefID, Remarks FROM Abstracts WHERE AbsRefID = 5"),
            "11|101|hx\x02"
            "dx\x02");
  EXPECT_TRUE(report.AutoFormatValues());
}

TEST(AddRecords, WhatCannotBeMadeLeavesNothing) {
  const struct {
    const char* change;
    std::int32_t abstract;
    bool tumor;
    std::int32_t number;
    const char* description;  // a part of it
  } cases[] = {
      {"", 99, false, kErrNoCurrentRecord, ""},
      {"", 99, true, kErrNoCurrentRecord, ""},
      {"DELETE FROM BaseIDs", 5, false, kErrNoCurrentRecord, "counter PatientID"},
      {"DELETE FROM BaseIDs", 6, true, kErrNoCurrentRecord, "counter MedRefID"},
      {"DELETE FROM Abstracts_2", 5, false, kErrNoCurrentRecord,
       "abstract 5 has no row in Abstracts_2"},
      {"ALTER TABLE Patients DROP COLUMN SocSec", 5, false, kErrNoSuchItem, "SocSec"},
      {"DROP TABLE MedicalSum_2", 6, true, kErrNoSuchTable, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.change) + " " + std::to_string(c.abstract));
    ReportRegistry small;
    small.ChangeRegistry(c.change);
    Abstract report = small.data_sets.GetAbstract(c.abstract);
    const Failure failure = Raises([&] {
      if (c.tumor) {
        small.data_sets.AddTumor(report);
      } else {
        small.data_sets.AddPatient(report);
      }
    });
    EXPECT_EQ(failure.number, c.number) << failure.description;
    EXPECT_NE(failure.description.find(c.description), std::string::npos) << failure.description;
    EXPECT_EQ(small.Registry(
                  "SELECT (SELECT count(*) FROM Patients), (SELECT count(*) FROM MedicalSum),"
                  " (SELECT count(*) FROM BaseIDs WHERE BaseIDName != 'AbsRefID' AND BaseID NOT IN"
                  " (10, 100)), (SELECT count(*) FROM Abstracts WHERE PatientID > 9)"),
              "2|3|0|0");
  }
}

TEST(AddRecords, ALinkThatCannotBeSavedIsNotSavedLater) {
  for (const bool tumor : {false, true}) {
    ReportRegistry small;
    Abstract report = small.data_sets.GetAbstract(tumor ? 6 : 5);
    report.SetFieldByName("HeldFor2", "mine");
    small.ChangeRegistry(
        "CREATE TRIGGER t BEFORE UPDATE ON Abstracts BEGIN SELECT RAISE(ABORT, 'no'); END");
    const std::string before = small.AllRows();
    small.connection.BeginTrans();
    EXPECT_EQ(Raises([&] {
                if (tumor) {
                  small.data_sets.AddTumor(report);
                } else {
                  small.data_sets.AddPatient(report);
                }
              }).number,
              kErrIntegrity);
    small.connection.RollBackTrans();
    small.ChangeRegistry("DROP TRIGGER t");
    report.Update();
    EXPECT_EQ(small.AllRows(), before);
    EXPECT_EQ(small.Registry("SELECT count(*) FROM Abstracts WHERE HeldFor2 = 'mine'"), "1");
  }
}

TEST(AddRecords, AnAbstractThatShowsWhatWasRolledBackIsRefused) {
  for (const bool edited : {false, true}) {
    ReportRegistry small;
    const std::string before = small.AllRows();
    Abstract report = small.data_sets.GetAbstract(5);
    for (int round = 0; round < 3; ++round) {
      small.connection.BeginTrans();
      const Failure failure = Raises([&] {
        if (round == 1) {
          small.data_sets.AddTumor(report);
        } else {
          small.data_sets.AddPatient(report);
        }
      });
      EXPECT_EQ(failure.number, round == 0 ? 0 : kErrRowChanged);
      small.connection.RollBackTrans();
      if (edited) report.SetFieldByName("HeldFor2", "mine" + std::to_string(round));
    }
    EXPECT_EQ(small.AllRows(), before);
    report = small.data_sets.GetAbstract(5);
    small.data_sets.AddPatient(report);
    EXPECT_EQ(small.Registry("SELECT PatientID FROM Abstracts WHERE AbsRefID = 5"), "11");
  }
}

TEST(UpdateAbstract, WritesEveryFieldAndTheTexts) {
  ReportRegistry small;
  const std::string record =
      "IO'Brien   02032001123      5 12  dx'd" + std::string(16, ' ') + "hx2";
  small.data_sets.UpdateAbstract(5, record);
  EXPECT_EQ(small.Registry("SELECT MedRefID, RecType, LastName, Remarks, HeldFor2 FROM Abstracts"
                           " WHERE AbsRefID = 5"),
            "70|I|O'Brien|hx2\x02"
            "dx'd\x02|held");
  EXPECT_EQ(small.Registry("SELECT * FROM Abstracts_2 WHERE AbsRefID = 5"), "5|20010203|05|");
  EXPECT_EQ(small.Registry("SELECT * FROM Abstracts_3 WHERE AbsRefID = 5"), "5|000000123|7|fac");
  small.ChangeRegistry("DELETE FROM Abstracts_3 WHERE AbsRefID = 6");
  for (const auto& missing : {std::pair{4, "abstract 4 does not exist"},
                              std::pair{6, "abstract 6 has no row in Abstracts_3"}}) {
    const Failure failure = Raises([&] { small.data_sets.UpdateAbstract(missing.first, record); });
    EXPECT_EQ(failure.number, kErrNoCurrentRecord);
    EXPECT_EQ(failure.description, missing.second);
  }
  EXPECT_EQ(small.Registry("SELECT LastName FROM Abstracts WHERE AbsRefID = 6"), "Ng");
}

}  // namespace
}  // namespace qm::test

#include <gtest/gtest.h>

#include "support/raises.h"
#include "support/small_registry.h"

namespace qm::test {
namespace {

struct Saves : SmallRegistry {
  std::shared_ptr<NAACCRLayout> layout = data_sets.GetNAACCRLayout();
};

const std::string kMemo = "new\x02text\x02";

TEST(RecordSaves, ANewRecordHasARowInEveryTableAndIsReadBack) {
  Saves saves;
  saves.data_sets.OpenGlobalRecordsets();
  Abstract empty = saves.data_sets.GetAbstract();
  Abstract retrieved = saves.data_sets.GetAbstract(5);
  EXPECT_EQ(Raises([&] { retrieved.AddNew(16); }).number, kErrObjectClosed);
  retrieved.CancelUpdate();
  retrieved.Recordsets();
  std::int32_t key = 17;
  for (Abstract* abstract : {&empty, &retrieved}) {
    abstract->AddNew(key);
    for (std::int16_t t = 1; t <= 3; ++t) {
      EXPECT_EQ(abstract->Recordset(t)->EditMode(), kEditAdd);
      EXPECT_EQ(abstract->Recordset(t)->Value("AbsRefID"), Variant(key));
    }
    abstract->SetFieldByName("LastName", "Okafor");
    abstract->SetFieldByName("BirthDate", "19800101");
    abstract->SetFieldByName("Remarks", kMemo);
    abstract->Update();
    abstract->Update();
    EXPECT_EQ(abstract->FieldByName("LastName"), Variant("Okafor"));
    EXPECT_EQ(abstract->FieldByName("BirthDate"), Variant("19800101"));
    EXPECT_EQ(abstract->FieldByName("TextDx"), Variant("text"));
    abstract->MoveFirst();
    abstract->MoveLast();
    EXPECT_EQ(abstract->FieldByName("BirthDate"), Variant("19800101"));
    EXPECT_EQ(abstract->FieldByName("SocSec"), Variant::Null());
    EXPECT_EQ(saves.Registry("SELECT LastName, BirthDate, Remarks, SocSec FROM Abstracts JOIN"
                             " Abstracts_2 USING (AbsRefID) JOIN Abstracts_3 USING (AbsRefID)"
                             " WHERE AbsRefID = " +
                             std::to_string(key++)),
              "Okafor|19800101|" + kMemo + "|NULL");
  }

  Tumor tumor = saves.data_sets.GetTumor(kNoId, 7);
  tumor.MoveNext();  // its second table is closed, and stale once AddNew has opened it
  tumor.AddNew(80);
  tumor.SetFieldByName("HistCode", "9999");
  tumor.SetFieldByName("Remarks", kMemo);
  tumor.Update();
  EXPECT_EQ(tumor.FieldByName("HistCode"), Variant("9999"));
  EXPECT_EQ(saves.Registry("SELECT HistCode, Remarks FROM MedicalSum JOIN MedicalSum_2 USING"
                           " (MedRefID) WHERE MedRefID = 80"),
            "9999|NULL");
  tumor.AddNew(81);
  tumor.MoveFirst();  // saves the new row of the primary table alone
  EXPECT_EQ(Raises([&] { tumor.FieldByName("HistCode"); }).number, kErrNotAllowedHere);
  tumor.CancelUpdate();
  EXPECT_EQ(tumor.FieldByName("HistCode"), Variant("8140"));
}

TEST(RecordSaves, ARowChangedSinceIsRefusedInTheNameOfItsClass) {
  Saves saves;
  Abstract abstract = saves.data_sets.GetAbstract(5);
  Patient patient = saves.data_sets.GetPatient(7);
  Tumor tumor = saves.data_sets.GetTumor(70);
  struct Case {
    Record* record;
    const char* primary_column;
    const char* secondary_column;
    std::int32_t number;
    const char* source;
  };
  for (const Case& c :
       {Case{&abstract, "RecType", "HistCode", -2147220302, "QMObjects.Abstract.Update"},
        Case{&patient, "SocSec", "BirthDate", -2147220102, "QMObjects.Patient.Update"},
        Case{&tumor, "RecType", "HistCode", -2147220002, "QMData.Tumor.Update"}}) {
    c.record->SetFieldByName(c.primary_column, "Z");
    c.record->SetFieldByName(c.secondary_column, "mine");
  }
  saves.ChangeRegistry(
      "UPDATE Abstracts_2 SET HistCode = 'his'; UPDATE Patients_2 SET BirthDate = 'his';"
      "UPDATE MedicalSum_2 SET HistCode = 'his'");
  for (const Case& c :
       {Case{&abstract, "RecType", "HistCode", -2147220302, "QMObjects.Abstract.Update"},
        Case{&patient, "SocSec", "BirthDate", -2147220102, "QMObjects.Patient.Update"},
        Case{&tumor, "RecType", "HistCode", -2147220002, "QMData.Tumor.Update"}}) {
    const Failure failure = Raises([&] { c.record->Update(); });
    EXPECT_EQ(failure.number, c.number);
    EXPECT_EQ(failure.source, c.source);
    EXPECT_NE(failure.description, "");
    EXPECT_EQ(c.record->Recordset(1)->EditMode(), kEditNone) << "saved before the failing one";
    EXPECT_EQ(c.record->Recordset(2)->EditMode(), kEditInProgress);
    EXPECT_EQ(c.record->FieldByName(c.secondary_column), Variant("mine"));
    c.record->CancelUpdate();
    EXPECT_EQ(c.record->Recordset(2)->EditMode(), kEditNone);
  }
  EXPECT_EQ(saves.Registry("SELECT a.RecType, SocSec, m.RecType FROM Abstracts a, Patients,"
                           " MedicalSum m WHERE AbsRefID = 5 AND Patients.PatientID = 7 AND"
                           " m.MedRefID = 70"),
            "Z|Z|Z");
}

// Packing rewrites the Null memo of abstract 6, whose texts neither user touched.
TEST(RecordSaves, UsersOfDifferentFieldsBothSaveThoughTheMemoIsPackedAnew) {
  Saves saves;
  Abstract first = saves.data_sets.GetAbstract(6);
  Abstract second = saves.data_sets.GetAbstract(6);
  Abstract third = saves.data_sets.GetAbstract(6);
  first.SetFieldByName("LastName", "One");
  first.SetFieldByName("TextDx", " kept ");
  second.SetFieldByName("RecType", "2");
  third.SetFieldByName("TextHx", "lost");
  first.Update();
  second.Update();
  EXPECT_EQ(Raises([&] { third.Update(); }).number, -2147220302);
  EXPECT_EQ(third.FieldByName("TextHx"), Variant("lost"));
  EXPECT_EQ(saves.Registry("SELECT LastName, RecType, Remarks FROM Abstracts WHERE AbsRefID = 6"),
            "One|2|\x02kept\x02");
  Abstract alone = saves.data_sets.GetAbstract(8);
  alone.Update();
  EXPECT_EQ(saves.Registry("SELECT Remarks FROM Abstracts WHERE AbsRefID = 8"), "\x02\x02");
}

TEST(RecordSaves, AnUnsavedEditOfAStaleTableIsNeverThrownAway) {
  Saves saves;
  Abstract abstract = saves.data_sets.GetAbstract(kNoId, 7);
  abstract.SetFieldByName("HistCode", "1111");
  abstract.MoveNext();
  EXPECT_EQ(Raises([&] { abstract.FieldByName("HistCode"); }).number, kErrNotAllowedHere);
  EXPECT_EQ(Raises([&] { abstract.CloseRecordset(); }).number, kErrNotAllowedHere);
  abstract.Recordset(1)->Open();
  abstract.Update();
  EXPECT_EQ(saves.Registry("SELECT HistCode FROM Abstracts_2"), "1111;NULL;");
  abstract.MoveNext();
  EXPECT_EQ(abstract.FieldByName("HistCode"), Variant::Null());
}

TEST(RecordSaves, ACriticalFieldIsMissingWhenItReadsAsTheEmptyText) {
  Saves saves;
  struct Case {
    std::int32_t abstract;
    const char* critical;
    bool missing;
  };
  for (const Case& c :
       {Case{5, "LastName", false}, Case{6, "HistCode", false}, Case{8, "BirthDate", true},
        Case{6, "TextDx", true}, Case{5, "TextDx", false}}) {
    const std::int16_t index = saves.layout->FieldIndex(c.critical);
    saves.layout->SetFieldCriticalFlag(index, 4);
    EXPECT_EQ(saves.data_sets.GetAbstract(c.abstract).CriticalFieldsMissing(), c.missing)
        << c.abstract << " " << c.critical;
    saves.layout->SetFieldCriticalFlag(index, 0);
  }
  Abstract abstract = saves.data_sets.GetAbstract(8);
  EXPECT_FALSE(abstract.CriticalFieldsMissing());
  EXPECT_EQ(abstract.Recordset(2)->State(), kStateClosed) << "only critical fields are read";
}

}  // namespace
}  // namespace qm::test

#include <gtest/gtest.h>

#include "records/split_record.h"
#include "support/raises.h"
#include "support/small_registry.h"

namespace qm::test {
namespace {

struct SmallRecords : SmallRegistry {
  std::shared_ptr<NAACCRLayout> layout = data_sets.GetNAACCRLayout();
};

TEST(Records, ColumnsOfTheirOwnAndOfTheLayoutHaveTheirTables) {
  SmallRecords small;
  struct Case {
    const RecordFamily* family;
    const char* name;
    int table;
  };
  for (const Case& c :
       {Case{&kAbstractFamily, "heldfor2", 1},      Case{&kAbstractFamily, "Project5", 1},
        Case{&kAbstractFamily, "XHELDFOR", 0},      Case{&kAbstractFamily, "DateFacUpdated", 3},
        Case{&kAbstractFamily, "Soundex", 0},       Case{&kAbstractFamily, "remarks", 1},
        Case{&kAbstractFamily, "SOCSEC", 3},        Case{&kAbstractFamily, "Dose", 3},
        Case{&kAbstractFamily, "PatientID", 0},     Case{&kPatientFamily, "Soundex", 1},
        Case{&kPatientFamily, "HeldFor2", 0},       Case{&kPatientFamily, "DatePtUpdated", 2},
        Case{&kPatientFamily, "DateFacUpdated", 0}, Case{&kPatientFamily, "RecType", 0},
        Case{&kPatientFamily, "BirthDate", 2},      Case{&kPatientFamily, "EditorInit", 0},
        Case{&kTumorFamily, "EditorInit", 1},       Case{&kTumorFamily, "NameX", 0},
        Case{&kTumorFamily, "DateTumUpdated", 2},   Case{&kTumorFamily, "HistCode", 2}}) {
    EXPECT_EQ(SplitRecord(*c.family, small.layout).getTable(c.name), c.table) << c.name;
  }
}

TEST(Records, ReadsByIndexNameAndEither) {
  SmallRecords small;
  Abstract abstract = small.data_sets.GetAbstract(5);
  EXPECT_EQ(abstract.Fields(std::int32_t{4}), Variant("Garcia "));
  EXPECT_EQ(abstract.Fields(" 4 "), Variant("Garcia "));
  EXPECT_EQ(abstract.Fields("lastname"), Variant("Garcia "));
  EXPECT_EQ(abstract.FieldByName("SOCSEC"), Variant("123"));  // code 4 is table 3
  EXPECT_EQ(abstract.FieldByName("Dose"), Variant("7"));      // code 3 as well
  EXPECT_EQ(abstract.FieldTableNo(6) * 10 + abstract.FieldTableNo(8), 43);
  EXPECT_EQ(abstract.FieldByName("TextDx"), Variant("dx"));
  EXPECT_EQ(abstract.FieldByIndex(2), Variant("hx"));
  EXPECT_EQ(abstract.FieldByName("HeldFor2"), Variant("held"));
  EXPECT_EQ(abstract.FieldByName("DateFacUpdated"), Variant("fac"));
  EXPECT_EQ(abstract.FieldByNAACCRNum(2230), "");
  for (const char* name : {"PatientID", "Nobody"}) {
    EXPECT_EQ(Raises([&] { abstract.FieldByName(name); }).number, kErrSubscript) << name;
  }
  for (const std::int16_t index : {-1, 0, 10}) {
    EXPECT_EQ(Raises([&] { abstract.FieldByIndex(index); }).number, kErrSubscript) << index;
  }
  EXPECT_EQ(Raises([&] { abstract.Fields(std::int32_t{70000}); }).number, kErrOverflow);
  Patient patient = small.data_sets.GetPatient(7);
  EXPECT_EQ(patient.FieldByName("DatePtUpdated"), Variant("pt"));
  EXPECT_EQ(Raises([&] { patient.FieldByName("RecType"); }).number, kErrSubscript);
  EXPECT_EQ(small.data_sets.GetTumor(70).FieldByName("DateTumUpdated"), Variant("tum"));
}

TEST(Records, FormatsOnReadAndWriteWhenAsked) {
  SmallRecords small;
  Abstract abstract = small.data_sets.GetAbstract(5);
  abstract.SetAutoFormatValues(true);
  struct Case {
    const char* name;
    Variant read;
    Variant assigned;
    Variant stored;
  };
  for (const Case& c :
       {Case{"LastName", "Garcia", " Ng ", "Ng"},
        Case{"BirthDate", "02/03/2001", "12/1/1999", "19991201"},
        Case{"SocSec", "000000123", std::int32_t{42}, "000000042"},
        Case{"SeqNumCentr", "01", "3", "03"}, Case{"Dose", "   7", "12345", "12345"},
        Case{"HistCode", "8000", "81", "8100"},
        Case{"BirthDate", "12/01/1999", Variant::Null(), Variant::Null()}}) {
    EXPECT_EQ(abstract.FieldByName(c.name), c.read) << c.name;
    abstract.SetFieldByName(c.name, c.assigned);
    abstract.SetAutoFormatValues(false);
    EXPECT_EQ(abstract.FieldByName(c.name), c.stored) << c.name;
    abstract.SetAutoFormatValues(true);
  }
  EXPECT_TRUE(abstract.FieldByName("BirthDate").IsNull());
  abstract.SetFieldByName("BirthDate", "20010203");
  EXPECT_EQ(Raises([&] { abstract.SetFieldByName("BirthDate", "13/13/2001"); }).number,
            kErrTypeMismatch);
  EXPECT_EQ(abstract.FieldByName("BirthDate"), Variant("02/03/2001"));
  abstract.Recordset(2)->Update();
  EXPECT_EQ(small.Registry("SELECT BirthDate, SeqNumCentr, HistCode FROM Abstracts_2"
                           " WHERE AbsRefID = 5"),
            "20010203|03|8100");
}

TEST(Records, TextsLiveInTheTextArray) {
  SmallRecords small;
  Abstract abstract = small.data_sets.GetAbstract(5);
  abstract.SetFieldByName("TextDx", " new ");
  EXPECT_EQ(abstract.FieldByIndex(1), Variant(" new "));
  abstract.SetFieldByName("remarks", "one\x02two\x02");
  EXPECT_EQ(abstract.FieldByName("TextHx"), Variant("one"));
  EXPECT_EQ(abstract.FieldByName("TextDx"), Variant("two"));
  EXPECT_EQ(abstract.FieldByName("Remarks"), Variant("hx\x02"
                                                     "dx\x02"));  // the column itself
  abstract.SetFieldByName("Project5", "six");
  EXPECT_EQ(abstract.Recordset(1)->Value("Project5"), Variant("six"));
  EXPECT_EQ(small.data_sets.GetAbstract(6).FieldByName("TextDx"), Variant(""));
}

TEST(Records, AStaleTableIsReadAgainOnce) {
  SmallRecords small;
  const auto registry = small.connection.Registry();
  auto primary = small.data_sets.GetRecordset("SELECT * FROM Abstracts", kOpenStatic);
  SplitRecord record(kAbstractFamily, small.layout);
  auto secondary = registry->CreateRecordset();
  secondary->SetActiveConnection(registry);
  record.AttachRecordsets({primary, secondary, registry->CreateRecordset()});
  std::vector<std::string> statements;
  registry->SetStatementObserver([&](std::string_view text) { statements.emplace_back(text); });
  for (int read = 0; read < 3; ++read) {
    EXPECT_EQ(record.FieldByName("BirthDate"), Variant("20010203"));
  }
  record.Move(&Recordset::MoveNext);
  for (int read = 0; read < 3; ++read) {
    EXPECT_EQ(record.FieldByName("SeqNumCentr"), Variant("2"));
  }
  EXPECT_EQ(record.FieldByName("LastName"), Variant("Ng"));
  EXPECT_EQ(statements, (std::vector<std::string>{"SELECT * FROM Abstracts_2 WHERE AbsrefID = 5",
                                                  "SELECT * FROM Abstracts_2 WHERE AbsrefID = 6"}));
  registry->SetStatementObserver({});
}

TEST(Records, HandsOutItsRecordsets) {
  SmallRecords small;
  Patient patient = small.data_sets.GetPatient(7);
  EXPECT_EQ(patient.Recordset(2)->State(), kStateClosed);
  const auto all = patient.Recordsets();
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[1], patient.Recordset(2));
  EXPECT_EQ(all[1]->Source(), "SELECT * FROM Patients_2 WHERE PatientID = 7");
  EXPECT_EQ(all[1]->Value("BirthDate"), Variant("20010203"));
  const Failure beyond = Raises([&] { patient.Recordset(3); });
  EXPECT_EQ(beyond.number, -2147220298);
  EXPECT_EQ(beyond.source + ":" + beyond.description,
            "QMData.Patient.Recordset: Array out-of-bounds.");
  EXPECT_EQ(Raises([&] { patient.Recordset(0); }).number, kErrSubscript);
  patient.Recordset(1)->Close();
  const Failure closed = Raises([&] { patient.Recordsets(); });
  EXPECT_EQ(closed.number, -2147220299);
  EXPECT_EQ(closed.source + ":" + closed.description,
            "QMData.Patient.GetRecordsets:Patient recordsets have not been opened yet");
}

}  // namespace
}  // namespace qm::test

#include <gtest/gtest.h>

#include "support/raises.h"
#include "support/small_registry.h"

namespace qm::test {
namespace {

struct Moves : SmallRegistry {
  explicit Moves(const std::vector<SmallField>& fields = SmallFields()) : SmallRegistry(fields) {
    data_sets.GetNAACCRLayout();
  }
  std::shared_ptr<Connection> registry = connection.Registry();

  template <typename Operation>
  std::int64_t Statements(Operation&& operation) const {
    const std::int64_t before = registry->StatementCount();
    operation();
    return registry->StatementCount() - before;
  }
  /// The number of statements that reading a field takes.
  std::int64_t Reading(Record& record, const char* name, const char* value) const {
    return Statements([&] { EXPECT_EQ(record.FieldByName(name), Variant(value)) << name; });
  }
  void ReopenTableDirect(Record& record, const char* table) const {
    record.Recordset(1)->Close();
    record.Recordset(1)->Open(table, registry, kOpenDynamic, kLockOptimistic, kCommandTableDirect);
  }
};

TEST(RecordMoves, ASecondaryTableIsReadOncePerRecordAndOnlyWhenTouched) {
  Moves moves;
  Abstract abstract = moves.data_sets.GetAbstract(kNoId, kNoId, kNoId, "1 = 1 ORDER BY AbsRefID");
  EXPECT_EQ(abstract.RecordCount(), 3);
  EXPECT_EQ(abstract.State(), kStateOpen);
  EXPECT_FALSE(abstract.SupportsIndex());
  EXPECT_EQ(moves.Reading(abstract, "BirthDate", "20010203"), 1);
  EXPECT_EQ(moves.Reading(abstract, "BirthDate", "20010203"), 0);
  EXPECT_EQ(moves.Statements([&] { abstract.MoveNext(); }), 0);
  EXPECT_EQ(moves.Reading(abstract, "TextDx", ""), 0);
  EXPECT_EQ(moves.Reading(abstract, "LastName", "Ng"), 0);
  EXPECT_EQ(moves.Reading(abstract, "SeqNumCentr", "2"), 1);
  EXPECT_EQ(moves.Reading(abstract, "BirthDate", "19991231"), 0);
  abstract.MoveLast();
  EXPECT_EQ(moves.Reading(abstract, "BirthDate", ""), 1);
  abstract.MoveFirst();
  EXPECT_EQ(moves.Reading(abstract, "TextDx", "dx"), 0);
  abstract.Filter("LastName = 'Ng'");
  EXPECT_EQ(moves.Reading(abstract, "BirthDate", "20010203"), 1);
  abstract.CloseRecordset();
  EXPECT_EQ(abstract.State(), kStateClosed);
  EXPECT_EQ(abstract.Recordset(2)->State(), kStateClosed);
  EXPECT_EQ(Raises([&] { abstract.MoveNext(); }).number, kErrObjectClosed);
}

TEST(RecordMoves, TheTextsFollowAnAbstractButNotBeyondItsRows) {
  Moves moves;
  moves.ChangeRegistry("UPDATE MedicalSum SET Remarks = 'of ' || MedRefID || char(2)");
  Abstract abstract = moves.data_sets.GetAbstract(5);
  abstract.MoveNext();
  EXPECT_TRUE(abstract.Eof());
  EXPECT_EQ(abstract.FieldByName("TextDx"), Variant("dx"));
  EXPECT_EQ(Raises([&] { abstract.MoveNext(); }).number, kErrNoCurrentRecord);
  abstract.MovePrevious();
  EXPECT_EQ(Raises([&] { abstract.MovePrevious(); }).number, kErrNoCurrentRecord);
  EXPECT_TRUE(abstract.Bof());

  Tumor tumor = moves.data_sets.GetTumor(kNoId, 7);
  EXPECT_EQ(tumor.FieldByName("TextHx"), Variant("of 71"));
  EXPECT_EQ(moves.Reading(tumor, "HistCode", "8140"), 1);
  tumor.MoveNext();
  EXPECT_EQ(tumor.FieldByName("TextHx"), Variant("of 71"));
  EXPECT_EQ(moves.Reading(tumor, "HistCode", "8070"), 1);
  tumor.MoveFirst();
  tumor.MovePrevious();
  EXPECT_TRUE(tumor.Bof());
}

TEST(RecordMoves, FindSearchesForwardWhateverElseIsAsked) {
  Moves moves;
  Abstract abstract = moves.data_sets.GetAbstract(kNoId, kNoId, kNoId, "1 = 1 ORDER BY AbsRefID");
  EXPECT_EQ(moves.Reading(abstract, "BirthDate", "20010203"), 1);
  abstract.Find("LastName = 'Ng'", 5, -1, 3);
  EXPECT_EQ(moves.Reading(abstract, "TextDx", ""), 0);
  EXPECT_EQ(moves.Reading(abstract, "BirthDate", "19991231"), 1);
  abstract.Find("LastName = 'Garcia '");
  EXPECT_TRUE(abstract.Eof());
  abstract.MoveFirst();

  // A search that fails finds an abstract's flags set already, and a patient's not yet.
  Patient patient = moves.data_sets.GetPatient(7);
  EXPECT_EQ(moves.Reading(abstract, "BirthDate", "20010203"), 1);
  EXPECT_EQ(moves.Reading(patient, "BirthDate", "20010203"), 1);
  EXPECT_EQ(Raises([&] { abstract.Find("LastName"); }).number, kErrBadArgument);
  EXPECT_EQ(Raises([&] { patient.Find("LastName"); }).number, kErrBadArgument);
  EXPECT_EQ(moves.Reading(abstract, "BirthDate", "20010203"), 1);
  EXPECT_EQ(moves.Reading(patient, "BirthDate", "20010203"), 0);
  patient.Find("PatientID = 7");
  EXPECT_EQ(moves.Reading(patient, "BirthDate", "20010203"), 1);
}

TEST(RecordMoves, ABookmarkReturnsEveryTableWithoutAQuery) {
  Moves moves;
  Abstract abstract = moves.data_sets.GetAbstract(kNoId, kNoId, kNoId, "1 = 1 ORDER BY AbsRefID");
  moves.Reading(abstract, "BirthDate", "20010203");
  const Variant first = abstract.BookMark();
  ASSERT_EQ(first.Elements().size(), 3U);
  EXPECT_TRUE(first.Elements()[2].IsEmpty());
  abstract.MoveLast();
  EXPECT_EQ(moves.Statements([&] { abstract.SetBookMark(first); }), 0);
  EXPECT_EQ(moves.Reading(abstract, "TextDx", "dx"), 0);
  EXPECT_EQ(moves.Reading(abstract, "BirthDate", "20010203"), 0);

  // Tables that were opened for another record since, or were behind, never show that record.
  abstract.MoveNext();
  const Variant second = abstract.BookMark();
  moves.Reading(abstract, "BirthDate", "19991231");
  moves.Reading(abstract, "SocSec", "456");
  abstract.SetBookMark(first);
  EXPECT_EQ(moves.Reading(abstract, "BirthDate", "20010203"), 1);
  EXPECT_EQ(moves.Reading(abstract, "SocSec", "123"), 1);
  abstract.SetBookMark(second);
  EXPECT_EQ(moves.Reading(abstract, "BirthDate", "19991231"), 1);

  EXPECT_EQ(Raises([&] { abstract.SetBookMark("x"); }).number, kErrTypeMismatch);
  EXPECT_EQ(Raises([&] { abstract.SetBookMark(Variant(Variant::Array(1))); }).number,
            kErrSubscript);
  EXPECT_EQ(Raises([&] { moves.data_sets.GetAbstract(6).SetBookMark(first); }).number,
            kErrBadArgument);
}

// The flags of a patient's tables are cleared as far as there are tables of abstracts.
TEST(RecordMoves, ABookmarkOfAPatientClearsTheFlagsOfTheAbstractTables) {
  for (const int tables : {1, 2}) {
    auto fields = SmallFields();
    for (SmallField& field : fields) field.abstract_code = std::min(field.abstract_code, tables);
    Moves moves(fields);
    Patient patient = moves.data_sets.GetPatient(7);
    moves.Reading(patient, "BirthDate", "20010203");
    const Variant bookmark = patient.BookMark();
    patient.MoveFirst();
    patient.SetBookMark(bookmark);
    EXPECT_EQ(moves.Reading(patient, "BirthDate", "20010203"), 2 - tables);
  }
}

TEST(RecordMoves, SeekMarksOtherTablesStaleButNotThoseOfAnAbstract) {
  Moves moves;
  Abstract abstract = moves.data_sets.GetAbstract(5);
  Patient patient = moves.data_sets.GetPatient(7);
  EXPECT_EQ(Raises([&] { abstract.SeekRecord(std::int32_t{6}); }).number, kErrNotSupported);
  moves.ReopenTableDirect(abstract, "Abstracts");
  moves.ReopenTableDirect(patient, "Patients");
  EXPECT_TRUE(abstract.SupportsIndex());
  for (Record* record : {static_cast<Record*>(&abstract), static_cast<Record*>(&patient)}) {
    record->SetIndex("PrimaryKey");
    moves.Reading(*record, "BirthDate", "20010203");
  }
  EXPECT_EQ(patient.Recordset(2)->Index(), "PrimaryKey");
  abstract.SeekRecord(std::int32_t{6});
  patient.SeekRecord(std::int32_t{9});
  EXPECT_EQ(abstract.FieldByName("LastName"), Variant("Ng"));
  EXPECT_EQ(abstract.FieldByName("TextDx"), Variant("dx"));
  EXPECT_EQ(moves.Reading(abstract, "BirthDate", "20010203"), 0);
  EXPECT_EQ(patient.FieldByName("LastName"), Variant("Li"));
  EXPECT_EQ(moves.Reading(patient, "BirthDate", ""), 1);
}

}  // namespace
}  // namespace qm::test

#include <gtest/gtest.h>

#include "session/session_state.h"
#include "support/raises.h"
#include "support/small_registry.h"

namespace qm::test {
namespace {

template <typename RecordClass>
std::string Rows(RecordClass record, std::string_view column) {
  std::string keys;
  for (auto& row : record.Recordset(1)->Rows()) {
    keys += std::to_string(row.Value(column).template Get<std::int32_t>()) + " ";
  }
  return keys;
}

constexpr std::int32_t kNo = kNoId;

struct AbstractCase {
  std::int32_t abstract;
  std::int32_t patient;
  std::int32_t tumor;
  const char* where;
  const char* source;
  const char* keys;
};

TEST(Retrieval, AbstractsByTheLastIdentifierGiven) {
  SmallRegistry small;
  small.data_sets.GetNAACCRLayout();
  for (const AbstractCase& c :
       {AbstractCase{5, kNo, kNo, "", "SELECT * FROM Abstracts WHERE  AbsRefID = 5", "5 "},
        AbstractCase{5, 7, kNo, "", "SELECT * FROM Abstracts WHERE  PatientID = 7", "5 6 "},
        AbstractCase{5, 7, 70, "x = y", "SELECT * FROM Abstracts WHERE  MedRefID = 70", "5 8 "},
        AbstractCase{-3, 9, kNo, "", "SELECT * FROM Abstracts WHERE  PatientID = 9", "8 "},
        AbstractCase{kNo, kNo, kNo, "LastName='Ng'", "SELECT * FROM Abstracts WHERE LastName='Ng'",
                     "6 "},
        AbstractCase{0, kNo, kNo, "1=1", "SELECT * FROM Abstracts WHERE  AbsRefID = 0", ""},
        AbstractCase{99, kNo, kNo, "", "SELECT * FROM Abstracts WHERE  AbsRefID = 99", ""}}) {
    Abstract found = small.data_sets.GetAbstract(c.abstract, c.patient, c.tumor, c.where);
    EXPECT_EQ(found.Recordset(1)->Source(), c.source);
    EXPECT_EQ(found.Recordset(1)->CursorLocation(), kUseClient);
    EXPECT_EQ(found.Recordset(1)->LockType(), kLockOptimistic);
    EXPECT_EQ(found.Recordset(2)->State(), kStateClosed);
    EXPECT_EQ(Rows(std::move(found), "AbsRefID"), c.keys) << c.source;
  }
  for (const AbstractCase& c :
       {AbstractCase{0, 7, 70, "", "", ""}, AbstractCase{-3, kNo, kNo, "", "", ""},
        AbstractCase{kNo, kNo, kNo, "Nobody = 1", "", ""},
        AbstractCase{kNo, kNo, kNo, "", "", ""}}) {
    const Failure failure =
        Raises([&] { small.data_sets.GetAbstract(c.abstract, c.patient, c.tumor, c.where); });
    EXPECT_EQ(failure.number, kObjectErrorBase + 1100);
    EXPECT_EQ(failure.source, "QMObjects.QMDatasets.GetAbstract");
  }
}

TEST(Retrieval, SecondaryTablesAreTiedToTheFirstRow) {
  SmallRegistry small;
  small.data_sets.GetNAACCRLayout();
  Abstract abstract = small.data_sets.GetAbstract(kNo, 7);
  EXPECT_EQ(abstract.Recordset(3)->Source(), "SELECT * FROM Abstracts_3 WHERE AbsRefID = 5");
  EXPECT_EQ(abstract.Recordset(3)->MaxRecords(), 1);
  Tumor tumor = small.data_sets.GetTumor(kNo, 7);
  EXPECT_EQ(tumor.Recordset(2)->Source(), "SELECT * FROM MedicalSum_2 WHERE MedRefID = 71");
}

TEST(Retrieval, PatientsAndTumors) {
  SmallRegistry small;
  small.data_sets.GetNAACCRLayout();
  EXPECT_EQ(Rows(small.data_sets.GetPatient(7), "PatientID"), "7 ");
  EXPECT_EQ(Rows(small.data_sets.GetPatient(kNo, "LastName='Li'"), "PatientID"), "");
  EXPECT_EQ(Rows(small.data_sets.GetPatient(7, "LastName='Li'"), "PatientID"), "7 ");
  EXPECT_EQ(Rows(small.data_sets.GetTumor(70), "MedRefID"), "70 ");
  EXPECT_EQ(Rows(small.data_sets.GetTumor(72, 7), "MedRefID"), "71 70 ");  // by SeqNumCentr
  EXPECT_EQ(Rows(small.data_sets.GetTumor(kNo, kNo, "SeqNumCentr='00'"), "MedRefID"), "72 ");
  const Failure patient = Raises([&] { small.data_sets.GetPatient(); });
  EXPECT_EQ(patient.number, kObjectErrorBase + 1101);
  EXPECT_EQ(patient.source + ": " + patient.description,
            "QMObjects.QMDatasets.GetPatient: Subscript out of range");
  EXPECT_EQ(Raises([&] { small.data_sets.GetTumor(-3); }).source, "QMObjects.QMDatasets.GetTumor");
  QMDataSets without_layout;
  EXPECT_EQ(Raises([&] { without_layout.GetPatient(7); }).number, kObjectErrorBase + 1101);
}

TEST(Retrieval, ReopensAClosedRegistryAndPreservesWhenAsked) {
  SmallRegistry small;
  small.data_sets.GetNAACCRLayout();
  small.connection.Registry()->Close();
  Patient patient = small.data_sets.GetPatient(7);
  EXPECT_EQ(patient.FieldByName("BirthDate"), Variant("20010203"));
  EXPECT_EQ(patient.Recordset(1)->Property("Preserve on Commit"), Variant(false));
  small.connection.SetPreserveRecordsets(true);
  small.data_sets.SetCursorLocation(kUseServer);
  Patient kept = small.data_sets.GetPatient(7);
  EXPECT_EQ(kept.Recordset(2)->Property("Preserve on Commit"), Variant(true));
  EXPECT_EQ(kept.Recordset(1)->Property("Preserve on Abort"), Variant(true));
  EXPECT_EQ(kept.Recordset(1)->CursorLocation(), kUseServer);
}

TEST(GlobalRecordsets, OpenEveryTableForTheThread) {
  SmallRegistry small;
  EXPECT_EQ(Raises([&] { small.data_sets.CloseGlobalRecordsets(); }).number, kErrSubscript);
  EXPECT_EQ(Raises([&] { small.data_sets.OpenGlobalRecordsets(); }).number, kErrSubscript);
  small.data_sets.GetNAACCRLayout();
  small.data_sets.OpenGlobalRecordsets();
  const SessionState& session = CurrentSession();
  ASSERT_EQ(session.grsAbstracts->size(), 3U);
  EXPECT_EQ((*session.grsAbstracts)[0]->Source(), "ABSTRACTS");
  EXPECT_EQ((*session.grsAbstracts)[2]->Source(), "ABSTRACTS_3");
  EXPECT_EQ((*session.grsAbstracts)[2]->CursorLocation(), kUseClient);
  ASSERT_EQ(session.grsPatients->size(), 2U);
  EXPECT_EQ((*session.grsPatients)[1]->Source(), "Patients_2");
  EXPECT_EQ((*session.grsPatients)[1]->CursorLocation(), kUseServer);
  const auto tumors = (*session.grsMedicalSum)[0];
  EXPECT_EQ(tumors->RecordCount(), 3);
  EXPECT_EQ(tumors->LockType(), kLockPessimistic);

  tumors->SetValue("SeqNumCentr", "55");
  QMDataSets other;
  other.SetNAACCRLayout(small.data_sets.GetNAACCRLayout(18));
  other.CloseGlobalRecordsets();  // a pending edit is cancelled
  EXPECT_EQ(tumors->State(), kStateClosed);
  EXPECT_EQ(small.Registry("SELECT SeqNumCentr FROM MedicalSum WHERE MedRefID = 70"), "02");
  other.CloseGlobalRecordsets();
  other.OpenGlobalRecordsets();
  EXPECT_NE((*session.grsMedicalSum)[0], tumors);
}

TEST(GlobalRecordsets, GiveTheEmptyViewToAddTo) {
  SmallRegistry small;
  small.data_sets.GetNAACCRLayout();
  small.data_sets.OpenGlobalRecordsets();
  (*CurrentSession().grsAbstracts)[0]->SetValue("LastName", "Pending");
  for (const std::int32_t id : {kNo, -2}) {
    Abstract empty = small.data_sets.GetAbstract(id, id == -2 ? 7 : kNo);
    EXPECT_EQ(empty.Recordset(1), (*CurrentSession().grsAbstracts)[0]);
    EXPECT_EQ(empty.Recordset(2)->Source(), "SELECT * FROM ABSTRACTS_2 WHERE 1 = 2");
    EXPECT_TRUE(empty.Recordset(2)->Eof());
  }
  Tumor tumor = small.data_sets.GetTumor();
  tumor.Recordset(1)->AddNew();
  tumor.Recordset(1)->SetValue("MedRefID", std::int32_t{80});
  tumor.SetFieldByName("SeqNumCentr", "09");
  tumor.Recordset(1)->Update();
  EXPECT_EQ(small.Registry("SELECT SeqNumCentr FROM MedicalSum WHERE MedRefID = 80"), "09");
  EXPECT_EQ(small.Registry("SELECT count(*) FROM Abstracts WHERE LastName = 'Pending'"), "0");
}

TEST(DataSets, QueriesAndFolders) {
  SmallRegistry small;
  const auto rows = small.data_sets.GetRecordset("SELECT LastName FROM Patients ORDER BY 1");
  EXPECT_EQ(rows->CursorType() * 10 + rows->LockType(), 1);
  EXPECT_EQ(rows->Value(0), Variant("Garcia"));
  EXPECT_EQ(small.data_sets.CursorLocation(), kUseClient);
  EXPECT_TRUE(std::filesystem::is_directory(small.data_sets.AppPath()));
  small.connection.Registry()->Close();
  EXPECT_EQ(Raises([&] { small.data_sets.GetRecordset("SELECT 1"); }).number,
            kErrInvalidConnection);
}

}  // namespace
}  // namespace qm::test

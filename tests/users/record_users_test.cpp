// Two users at one record, each in a process of its own, through the record objects.
#include <gtest/gtest.h>
#include <qm/conversions.h>

#include <sstream>

#include "support/other_process.h"
#include "support/raises.h"
#include "support/small_registry.h"

namespace qm::test {
namespace {

struct Databases {
  TempFolder folder;
  std::string control = MakeDatabase(folder.File("control.db"), ControlScript(SmallFields()));
  std::string registry = MakeDatabase(folder.File("registry.db"), RegistryScript());

  std::string Query(const std::string& text) const { return QueryText(registry, text); }
};

// A record that its process opened, and keeps.
class RecordUser {
 public:
  RecordUser(const Databases& databases, const std::string& family) {
    connection_.SetControl(OpenSqlite(databases.control));
    connection_.SetRegistry(OpenSqlite(databases.registry));
    data_sets_.GetNAACCRLayout();
    if (family == "Abstract") {
      record_ = std::make_unique<Holder<Abstract>>(data_sets_.GetAbstract(5));
    } else if (family == "Patient") {
      record_ = std::make_unique<Holder<Patient>>(data_sets_.GetPatient(7));
    } else {
      record_ = std::make_unique<Holder<Tumor>>(data_sets_.GetTumor(70));
    }
  }

  // "set NAME VALUE" gives "", "get NAME" the value; "save" and "cancel" number and source of the
  // failure, "0 " without one; "pending" the tables with a pending edit.
  std::string Answer(const std::string& request) {
    std::istringstream words(request);
    std::string verb;
    std::string name;
    std::string value;
    words >> verb >> name >> value;
    Record& record = record_->Get();
    if (verb == "set") record.SetFieldByName(name, value);
    if (verb == "get") return ToText(record.FieldByName(name));
    if (verb == "save") return Told(Raises([&] { record.Update(); }));
    if (verb == "cancel") return Told(Raises([&] { record.CancelUpdate(); }));
    if (verb != "pending") return "";
    std::string tables;
    for (std::int16_t t = 1; t <= 2; ++t) {
      const auto table = record.Recordset(t);
      const bool open = table->State() == kStateOpen;
      if (open && table->EditMode() == kEditInProgress) tables += std::to_string(t);
    }
    return tables;
  }

 private:
  struct AnyRecord {
    virtual ~AnyRecord() = default;
    virtual Record& Get() = 0;
  };
  template <typename RecordClass>
  struct Holder : AnyRecord {
    explicit Holder(RecordClass held) : record(std::move(held)) {}
    Record& Get() override { return record; }
    RecordClass record;
  };

  static std::string Told(const Failure& failure) {
    return std::to_string(failure.number) + " " + failure.source;
  }

  QMConnection connection_;
  QMDataSets data_sets_;
  std::unique_ptr<AnyRecord> record_;
};

OtherProcess::Answer UserOf(const Databases& databases, const std::string& family) {
  return [&databases, family,
          user = std::shared_ptr<RecordUser>()](const std::string& request) mutable {
    if (!user) user = std::make_shared<RecordUser>(databases, family);
    return user->Answer(request);
  };
}

struct Conflict {
  const char* family;
  const char* first;   ///< the field that the first user sets to "one"
  const char* second;  ///< the field that the second user sets to "two"
  const char* save;    ///< what the second user's save gives
  const char* pending;
  const char* row;    ///< a query of both values
  const char* saved;  ///< its result after both saved
};

std::ostream& operator<<(std::ostream& out, const Conflict& c) { return out << c.family; }

class TwoUsers : public testing::TestWithParam<Conflict> {};

TEST_P(TwoUsers, OfOneFieldOneSavesAndOfTwoBothDo) {
  const Conflict& c = GetParam();
  const Databases databases;
  OtherProcess first(UserOf(databases, c.family));
  OtherProcess second(UserOf(databases, c.family));
  EXPECT_EQ(first.Run("set " + std::string(c.first) + " one"), "");
  EXPECT_EQ(second.Run("set " + std::string(c.second) + " two"), "");
  EXPECT_EQ(first.Run("save"), "0 ");
  EXPECT_EQ(second.Run("save"), c.save);
  EXPECT_EQ(second.Run("pending"), c.pending);
  EXPECT_EQ(second.Run("get " + std::string(c.second)), "two");
  EXPECT_EQ(databases.Query(c.row), c.saved);
  if (*c.pending == '\0') return;
  EXPECT_EQ(second.Run("save"), c.save) << "a second try loses nothing either";
  EXPECT_EQ(second.Run("cancel"), "0 ");
  EXPECT_EQ(second.Run("pending"), "");
  EXPECT_EQ(databases.Query(c.row), c.saved);
}

constexpr const char* kAbstractRow =
    "SELECT a.LastName, a.RecType, b.BirthDate, b.HistCode, a.Remarks LIKE '%one%' FROM Abstracts "
    "a JOIN Abstracts_2 b"
    " USING (AbsRefID) WHERE AbsRefID = 5";
constexpr const char* kPatientRow =
    "SELECT a.LastName, a.SocSec, b.BirthDate FROM Patients a JOIN Patients_2 b"
    " USING (PatientID) WHERE PatientID = 7";
constexpr const char* kTumorRow =
    "SELECT a.RecType, a.SeqNumCentr, b.HistCode FROM MedicalSum a JOIN MedicalSum_2 b"
    " USING (MedRefID) WHERE MedRefID = 70";

INSTANTIATE_TEST_SUITE_P(
    Records, TwoUsers,
    testing::Values(
        Conflict{"Abstract", "LastName", "LastName", "-2147220302 QMObjects.Abstract.Update", "1",
                 kAbstractRow, "one|A|20010203|80|0"},
        Conflict{"Abstract", "BirthDate", "BirthDate", "-2147220302 QMObjects.Abstract.Update", "2",
                 kAbstractRow, "Garcia |A|one|80|0"},
        Conflict{"Abstract", "LastName", "RecType", "0 ", "", kAbstractRow,
                 "one|two|20010203|80|0"},
        Conflict{"Abstract", "BirthDate", "HistCode", "0 ", "", kAbstractRow,
                 "Garcia |A|one|two|0"},
        Conflict{"Abstract", "LastName", "BirthDate", "0 ", "", kAbstractRow, "one|A|two|80|0"},
        Conflict{"Abstract", "TextDx", "LastName", "0 ", "", kAbstractRow, "two|A|20010203|80|1"},
        Conflict{"Patient", "SocSec", "SocSec", "-2147220102 QMObjects.Patient.Update", "1",
                 kPatientRow, "Garcia|one|20010203"},
        Conflict{"Patient", "SocSec", "BirthDate", "0 ", "", kPatientRow, "Garcia|one|two"},
        Conflict{"Tumor", "HistCode", "HistCode", "-2147220002 QMData.Tumor.Update", "2", kTumorRow,
                 "A|02|one"},
        Conflict{"Tumor", "RecType", "SeqNumCentr", "0 ", "", kTumorRow, "one|two|8070"}),
    [](const auto& test) {
      return std::string(test.param.family) + test.param.first + test.param.second;
    });

}  // namespace
}  // namespace qm::test

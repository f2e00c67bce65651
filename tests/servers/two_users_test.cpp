// What two users of one database see of each other, on every engine alike, and what becomes of a
// user whose server has gone.
#include <chrono>
#include <functional>

#include <qm/error.h>

#include "servers/registry_table.h"

namespace qm::test {
namespace {

using TwoUsers = RegistryTable;
INSTANTIATE_TEST_SUITE_P(Engines, TwoUsers, ::testing::ValuesIn(kEngines), EngineName);

constexpr const char* kSmith = "SELECT * FROM Patients WHERE PatientID = 4";

struct Way {
  const char* name;
  const char* source;
  std::int32_t type;
  std::int32_t options;
};
constexpr Way kWays[] = {
    {"forward", kSmith, kOpenForwardOnly, kCommandText},
    {"static", kSmith, kOpenStatic, kCommandText},
    {"keyset", kSmith, kOpenKeyset, kCommandText},
    {"dynamic", kSmith, kOpenDynamic, kCommandText},
    {"direct", "PATIENTS", kOpenDynamic, kCommandTableDirect},
};

class Smith {
 public:
  explicit Smith(std::shared_ptr<Recordset> rows) : rows_(std::move(rows)) {
    while (rows_->Value("PatientID") != Variant(4)) rows_->MoveNext();
  }
  Recordset* operator->() const { return rows_.get(); }

 private:
  std::shared_ptr<Recordset> rows_;
};

TEST_P(TwoUsers, OptimisticWritersOfOneColumnNeverBothSucceed) {
  for (const Way& way : kWays) {
    SCOPED_TRACE(way.name);
    connection_->Execute(
        "UPDATE Patients SET LastName = 'smith', Weight = NULL, Remarks = NULL"
        " WHERE PatientID = 4");
    Smith rows(Rows(way.source, way.type, kLockOptimistic, way.options));
    rows->SetValue("LastName", "mine");
    // A change that a comparison of words would not see.
    Other().Execute("UPDATE Patients SET LastName = 'smith ', Ignore = 3 WHERE PatientID = 4");
    EXPECT_EQ(Raises([&] { rows->Update(); }).number, kErrRowChanged);
    EXPECT_EQ(rows->EditMode(), kEditInProgress);
    rows->CancelUpdate();
    rows->Requery();
    Smith again(Rows(way.source, way.type, kLockOptimistic, way.options));
    EXPECT_EQ(again->Value("LastName"), Variant("smith "));
    again->SetValue("LastName", "mine\\");
    again->SetValue("Weight", 70.1);
    again->SetValue("Remarks", std::string(20000, 'r'));
    Other().Execute("UPDATE Patients SET [Default] = 'o' WHERE PatientID = 4");
    again->Update();  // the columns differ
    EXPECT_EQ(
        Query(Other(), "SELECT LastName, Weight, [Default] FROM Patients WHERE PatientID = 4"),
        "mine\\|70.1|o");
    again->SetValue("LastName", "mine again");
    again->SetValue("Weight", Variant::Null());
    again->SetValue("Remarks", "short");
    again->Update();
    EXPECT_EQ(Query(Other(), "SELECT LastName, Weight, Remarks FROM Patients WHERE PatientID = 4"),
              "mine again|NULL|short");
  }
}

TEST_P(TwoUsers, AnUnchangedValueIsNoConflictAndNoStatement) {
  Smith rows(Rows(kSmith, kOpenKeyset, kLockOptimistic));
  const std::int64_t before = connection_->StatementCount();
  rows->SetValue("LastName", "smith");
  rows->Update();
  EXPECT_EQ(connection_->StatementCount(), before);
  // Written all the same by a pessimistic edit, which finds its row though nothing changes.
  Smith locked(Rows(kSmith, kOpenKeyset, kLockPessimistic));
  locked->SetValue("LastName", "smith");
  locked->SetValue("Ignore", 0);
  locked->Update();
  EXPECT_EQ(locked->EditMode(), kEditNone);
  EXPECT_EQ(NameOf(4), "smith");
}

TEST_P(TwoUsers, APessimisticEditLocksItsRowAndGivesItBack) {
  const std::function<void(Smith&)> ends[] = {
      [](Smith& rows) { rows->Update(); },
      [](Smith& rows) { rows->CancelUpdate(); },
      [](Smith& rows) { rows->MoveNext(); },
      [this](Smith&) { connection_->Close(); },
  };
  Other();
  for (const auto& end : ends) {
    if (connection_->State() == kStateClosed) connection_->Open();
    Smith rows(Rows("Patients", kOpenDynamic, kLockPessimistic, kCommandTableDirect));
    rows->SetValue("LastName", "mine");
    EXPECT_EQ(Query(Other(), "SELECT count(*) FROM Patients WHERE LastName = 'mine'"), "0")
        << "reading waits for nobody";
    const auto start = std::chrono::steady_clock::now();
    const Failure busy = Raises(
        [&] { Other().Execute("UPDATE Patients SET LastName = 'theirs' WHERE PatientID = 4"); });
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(busy.number, kErrEngineBusy) << busy.description;
    EXPECT_GE(waited, std::chrono::milliseconds(900));
    EXPECT_LT(waited, std::chrono::seconds(4));
    EXPECT_EQ(Raises([&] { connection_->BeginTrans(); }).number, kErrInTransaction);
    end(rows);
    Other().Execute("UPDATE Patients SET LastName = 'smith' WHERE PatientID = 4");
  }
}

TEST_P(TwoUsers, APessimisticEditOfAStaleRowIsRefused) {
  Smith rows(Rows("Patients", kOpenDynamic, kLockPessimistic, kCommandTableDirect));
  Other().Execute("UPDATE Patients SET Remarks = 'theirs' WHERE PatientID = 4");
  EXPECT_EQ(Raises([&] { rows->SetValue("LastName", "mine"); }).number, kErrRowChanged);
  EXPECT_EQ(rows->EditMode(), kEditNone);
  Other().Execute("UPDATE Patients SET Remarks = 'again' WHERE PatientID = 4");
  rows->MoveNext();
  rows->MovePrevious();  // reads the row afresh
  rows->SetValue("LastName", "mine");
  rows->Update();
  EXPECT_EQ(Query(Other(), "SELECT LastName, Remarks FROM Patients WHERE PatientID = 4"),
            "mine|again");
}

TEST_P(TwoUsers, CursorsSeeWhatTheyPromise) {
  const std::string all = "SELECT PatientID, LastName FROM Patients ORDER BY PatientID";
  auto held = Rows(all, kOpenStatic);
  auto keys = Rows(all, kOpenKeyset, kLockOptimistic);
  Other().Execute("UPDATE Patients SET LastName = 'new' WHERE PatientID = 2");
  Other().Execute("DELETE FROM Patients WHERE PatientID = 3");
  held->MoveNext();
  EXPECT_EQ(held->Value(1), Variant("munoz"));
  keys->MoveNext();
  EXPECT_EQ(keys->Value(1), Variant("new"));
  keys->MoveNext();
  EXPECT_EQ(Raises([&] { keys->Value(1); }).number, kErrRowDeleted);
  keys->MoveNext();
  EXPECT_EQ(keys->Value(0), Variant(4));
  keys->SetValue("PatientID", 40);  // a row goes on being found by its new key
  keys->Update();
  keys->SetValue("LastName", "forty");
  keys->Update();
  EXPECT_EQ(NameOf(40), "forty");
  auto joined =
      Rows("SELECT a.LastName FROM Patients a, Patients b WHERE a.PatientID = b.PatientID",
           kOpenDynamic, kLockOptimistic);
  EXPECT_EQ(Raises([&] { joined->SetValue(0, "x"); }).number, kErrNotSupported);
}

TEST_P(TwoUsers, ALostConnectionIsAnErrorAndTheNextOneWorks) {
  if (!IsServer()) GTEST_SKIP() << "no server that could go away";
  Fill(600);
  const std::function<void()> works[] = {
      [this] { Query("SELECT 1"); },
      [this] { connection_->Execute("DELETE FROM Patients"); },
      [this] { connection_->BeginTrans(), connection_->Execute("DELETE FROM Patients"); },
      [this] { Rows(kSmith, kOpenKeyset, kLockPessimistic)->SetValue("LastName", "x"); },
      [this] { Rows("Patients", kOpenDynamic, kLockOptimistic, kCommandTableDirect)->MoveLast(); },
  };
  const auto lose = [this] {
    const std::string id =
        Query(IsPostgres() ? "SELECT pg_backend_pid()" : "SELECT connection_id()");
    Other().Execute(IsPostgres() ? "SELECT pg_terminate_backend(" + id + ")" : "KILL " + id);
  };
  for (const auto& work : works) {
    lose();
    const Failure lost = Raises(work);
    EXPECT_EQ(lost.number, kErrEngine);
    EXPECT_NE(lost.description.find("connection"), std::string::npos) << lost.description;
    EXPECT_EQ(Raises([this] { Query("SELECT 1"); }).number, kErrEngine) << "it stays lost";
    connection_->Close();
    connection_->Open();
    EXPECT_EQ(Query("SELECT count(*) FROM Patients"), "608");
  }
  // In the middle of a transaction, of an edit and of a walk.
  auto walk = Rows("Patients", kOpenDynamic, kLockOptimistic, kCommandTableDirect);
  connection_->BeginTrans();
  connection_->Execute("DELETE FROM Patients WHERE PatientID > 3");
  lose();
  EXPECT_EQ(Raises([&] { connection_->CommitTrans(); }).number, kErrEngine);
  EXPECT_EQ(Raises([&] { walk->MoveLast(); }).number, kErrEngine);
  connection_->Close();
  connection_->Open();
  Smith edit(Rows(kSmith, kOpenKeyset, kLockPessimistic));
  edit->SetValue("LastName", "mine");
  lose();
  EXPECT_EQ(Raises([&] { edit->Update(); }).number, kErrEngine);
  connection_->Close();
  connection_->Open();
  EXPECT_EQ(NameOf(4), "smith");
  EXPECT_EQ(Query("SELECT count(*) FROM Patients"), "608");
}

}  // namespace
}  // namespace qm::test

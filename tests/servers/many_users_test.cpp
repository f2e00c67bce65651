// Eight processes at one row, on every engine alike: no change is lost, no identifier given twice,
// no lock given to two.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <set>
#include <sstream>
#include <utility>
#include <vector>

#include <qm/conversions.h>
#include <qm/data_sets.h>
#include <qm/error.h>
#include <qm/qm_connection.h>
#include <qm/recordset.h>

#include "support/other_process.h"
#include "support/raises.h"
#include "support/servers.h"

namespace qm::test {
namespace {

constexpr int kUsers = 8;
constexpr int kTurns = 15;

class ManyUsers : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    if (!database_.Missing().empty()) GTEST_SKIP() << database_.Missing();
    auto connection = database_.Open();
    for (const char* statement :
         {"CREATE TABLE PATIENTS (PATIENTID INTEGER PRIMARY KEY, CaseLockedBy VARCHAR(20),"
          " CaseLockedTime VARCHAR(30), Visits INTEGER)",
          "CREATE TABLE USERS (USERID VARCHAR(20), NAME VARCHAR(20))",
          "CREATE TABLE BaseIDs (BaseIDName VARCHAR(20) PRIMARY KEY, BaseID INTEGER)",
          "INSERT INTO PATIENTS VALUES (7, NULL, NULL, 0)",
          "INSERT INTO BaseIDs VALUES ('PatientID', 10)"}) {
      connection->Execute(statement);
    }
  }

  // What each of the users answers, all of them at work at once. No connection may be open here.
  std::vector<std::string> All(
      const std::function<std::string(const std::shared_ptr<Connection>&, int)>& work) {
    std::vector<std::unique_ptr<OtherProcess>> users;
    for (int number = 0; number < kUsers; ++number) {
      users.push_back(std::make_unique<OtherProcess>(
          [&, number](const std::string&) { return work(database_.Open(30), number); }));
    }
    for (const auto& user : users) user->Ask("go");
    std::vector<std::string> answers;
    for (const auto& user : users) answers.push_back(user->TakeAnswer());
    while (!users.empty()) users.pop_back();
    return answers;
  }
  Variant Value(const std::string& query) { return database_.Open()->Execute(query)->Value(0); }

  ScratchDatabase database_{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Engines, ManyUsers, testing::ValuesIn(kEngines),
                         [](const auto& test) { return std::string(test.param); });

TEST_P(ManyUsers, NoChangeIsLost) {
  for (const std::int32_t lock : {kLockOptimistic, kLockPessimistic}) {
    database_.Open()->Execute("UPDATE PATIENTS SET Visits = 0");
    const auto answers = All([lock](const std::shared_ptr<Connection>& connection, int) {
      for (int done = 0; done < kTurns;) {
        auto row = connection->CreateRecordset();
        row->Open("SELECT * FROM Patients WHERE PatientID = 7", connection, kOpenDynamic, lock);
        try {
          row->SetValue("Visits", ToInt32(row->Value("Visits")) + 1);
          row->Update();
          ++done;
        } catch (const Error& error) {
          if (error.number() != kErrRowChanged) return std::string(error.what());
          row->CancelUpdate();
        }
      }
      return std::string();
    });
    for (const std::string& answer : answers) EXPECT_EQ(answer, "");
    EXPECT_EQ(Value("SELECT Visits FROM Patients"), Variant(kUsers * kTurns)) << lock;
  }
}

TEST_P(ManyUsers, NoIdentifierIsGivenTwice) {
  const auto answers = All([](const std::shared_ptr<Connection>& connection, int) {
    QMConnection session;
    session.SetRegistry(connection);
    QMDataSets data_sets;
    std::string ids;
    for (int i = 0; i < kTurns; ++i) ids += std::to_string(data_sets.BaseID("PatientID")) + " ";
    return ids;
  });
  std::set<int> given;
  for (const std::string& answer : answers) {
    std::istringstream ids(answer);
    for (int id = 0; ids >> id;) EXPECT_TRUE(given.insert(id).second) << id;
  }
  EXPECT_EQ(given.size(), static_cast<std::size_t>(kUsers * kTurns));
  EXPECT_EQ(*given.begin(), 11);
  EXPECT_EQ(*given.rbegin(), 10 + kUsers * kTurns);
}

TEST_P(ManyUsers, OneGetsTheLock) {
  for (int round = 0; round < 5; ++round) {
    database_.Open()->Execute("UPDATE PATIENTS SET CaseLockedBy = NULL");
    const auto answers = All([](const std::shared_ptr<Connection>& connection, int number) {
      QMConnection session;
      session.SetRegistry(connection);
      session.SetUser("user" + std::to_string(number));
      bool taken = false;
      const Failure failure = Raises([&] { taken = session.LockCase("7"); });
      return failure.number != 0 ? failure.description : taken ? "taken" : "";
    });
    int winner = -1;
    for (int number = 0; number < kUsers; ++number) {
      const std::string& answer = answers[static_cast<std::size_t>(number)];
      if (answer == "taken") {
        EXPECT_EQ(std::exchange(winner, number), -1) << "two have it";
      } else if (!answer.empty()) {
        EXPECT_EQ(answer, "The row was changed by another user since it was read");
      }
    }
    EXPECT_EQ(Value("SELECT CaseLockedBy FROM Patients"), Variant("user" + std::to_string(winner)));
  }
}

}  // namespace
}  // namespace qm::test

// Ten processes that want one record lock, round after round: one gets it, each time. The number of
// rounds can be set by QM_LOCK_ROUNDS.
#include <gtest/gtest.h>
#include <qm/conversions.h>
#include <qm/hooks.h>
#include <qm/qm_connection.h>
#include <sched.h>
#include <sys/mman.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <vector>

#include "support/other_process.h"
#include "support/raises.h"

namespace qm::test {
namespace {

constexpr int kUsers = 10;
constexpr const char* kScript =
    "CREATE TABLE PATIENTS (PATIENTID INTEGER PRIMARY KEY, CaseLockedBy TEXT, CaseLockedTime TEXT);"
    "CREATE TABLE ABSTRACTS (ABSREFID INTEGER PRIMARY KEY, AbstractLockedBy TEXT,"
    " AbstractLockedT TEXT);"
    "CREATE TABLE USERS (USERID TEXT, NAME TEXT);"
    "INSERT INTO PATIENTS VALUES (7, NULL, NULL); INSERT INTO ABSTRACTS SELECT * FROM PATIENTS;";

// Lets the processes of a round go on together, so that they come at once on few processors too.
class Gate {
 public:
  Gate()
      : arrived_(new (mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE,
                           MAP_SHARED | MAP_ANONYMOUS, -1, 0)) std::atomic<int>(0)) {}
  ~Gate() { munmap(arrived_, sizeof(std::atomic<int>)); }
  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;

  void Pass(int round) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    ++*arrived_;
    while (*arrived_ < (round + 1) * kUsers && std::chrono::steady_clock::now() < deadline) {
      sched_yield();
    }
  }

 private:
  std::atomic<int>* arrived_;
};

class Users {
 public:
  Users(const std::string& registry, bool cases) {
    for (int number = 0; number < kUsers; ++number) {
      processes_.push_back(
          std::make_unique<OtherProcess>([this, registry, cases, number, session = QMConnection(),
                                          round = -1](const std::string& request) mutable {
            if (round < 0) {
              session.SetRegistry(OpenSqlite(registry));
              session.SetUser("user" + std::to_string(number));
            }
            if (request == "free") {
              const bool there = cases ? session.UnlockCase("7") : session.UnLockAbstract(7);
              return std::string(there ? "true" : "false");
            }
            gate_.Pass(++round);
            bool taken = false;
            const Failure failure =
                Raises([&] { taken = cases ? session.LockCase("7") : session.LockAbstract(7); });
            if (failure.number != 0) return std::to_string(failure.number) + failure.description;
            return std::string(taken ? "true" : "false");
          }));
    }
  }
  ~Users() {
    while (!processes_.empty()) processes_.pop_back();
  }
  Users(const Users&) = delete;
  Users& operator=(const Users&) = delete;

  std::vector<std::string> Lock() {
    for (const auto& process : processes_) process->Ask("lock");
    std::vector<std::string> answers;
    for (const auto& process : processes_) answers.push_back(process->TakeAnswer());
    return answers;
  }
  std::string Free(int number) {
    return processes_.at(static_cast<std::size_t>(number))->Run("free");
  }

 private:
  Gate gate_;
  std::vector<std::unique_ptr<OtherProcess>> processes_;
};

class TenUsers : public testing::TestWithParam<bool> {};

TEST_P(TenUsers, OfOneRecordOneGetsTheLockEachTime) {
  const bool cases = GetParam();
  const char* wish = std::getenv("QM_LOCK_ROUNDS");
  const int rounds = wish != nullptr ? std::atoi(wish) : 1000;
  const TempFolder folder;
  const std::string path = MakeDatabase(folder.File("registry.db"), kScript);
  Users users(path, cases);
  int won = 0;
  int refused = 0;
  int failed = 0;
  for (int round = 0; round < rounds; ++round) {
    std::vector<int> winners;
    const auto answers = users.Lock();
    for (int number = 0; number < kUsers; ++number) {
      const std::string& answer = answers[static_cast<std::size_t>(number)];
      if (answer == "true") {
        winners.push_back(number);
      } else if (answer == "false") {
        ++refused;
      } else {
        ++failed;
        EXPECT_EQ(answer, std::string(cases ? "-2147220501" : "-2147220502") +
                              "The row was changed by another user since it was read");
      }
    }
    ASSERT_EQ(winners.size(), 1U) << "round " << round;
    ++won;
    EXPECT_EQ(QueryText(path, cases ? "SELECT CaseLockedBy FROM PATIENTS"
                                    : "SELECT AbstractLockedBy FROM ABSTRACTS"),
              "user" + std::to_string(winners.front()));
    ASSERT_EQ(users.Free((winners.front() + round) % kUsers), "true");
  }
  std::cout << (cases ? "case" : "abstract") << ": " << rounds << " rounds of " << kUsers << ", "
            << won << " took it, " << refused << " were refused, " << failed
            << " found the row changed\n";
}

INSTANTIATE_TEST_SUITE_P(Locks, TenUsers, testing::Bool(),
                         [](const auto& test) { return test.param ? "Case" : "Abstract"; });

}  // namespace
}  // namespace qm::test

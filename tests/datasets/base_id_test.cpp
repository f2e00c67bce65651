#include <gtest/gtest.h>
#include <qm/hooks.h>
#include <sys/wait.h>
#include <unistd.h>

#include <optional>
#include <set>
#include <thread>

#include "support/raises.h"
#include "support/small_registry.h"

namespace qm::test {
namespace {

constexpr const char* kRefuse =
    "CREATE TRIGGER refuse BEFORE UPDATE ON BaseIDs BEGIN SELECT RAISE(ABORT, 'no'); END";
constexpr const char* kAllow = "DROP TRIGGER refuse";

// Answers waits and questions, and sees them.
class Surroundings {
 public:
  Surroundings()
      : waiter_(SetWaiter([this](std::chrono::milliseconds pause) {
          waits_.push_back(pause.count());
          if (on_wait) on_wait(waits_.size());
        })),
        presenter_(SetMessagePresenter([this](const Message& message) {
          questions_.push_back(message);
          return on_question ? on_question(questions_.size()) : MessageAnswer::kNo;
        })) {}
  ~Surroundings() {
    SetWaiter(waiter_);
    SetMessagePresenter(presenter_);
  }
  Surroundings(const Surroundings&) = delete;
  Surroundings& operator=(const Surroundings&) = delete;

  const std::vector<std::int64_t>& waits() const { return waits_; }
  const std::vector<Message>& questions() const { return questions_; }

  std::function<void(std::size_t)> on_wait;
  std::function<MessageAnswer(std::size_t)> on_question;

 private:
  std::vector<std::int64_t> waits_;
  std::vector<Message> questions_;
  Waiter waiter_;
  MessagePresenter presenter_;
};

TEST(BaseId, CountsEachCounterAlone) {
  SmallRegistry small;
  Surroundings around;
  EXPECT_EQ(small.data_sets.BaseID("AbsRefID"), 11);
  EXPECT_EQ(small.data_sets.BaseID("AbsRefID"), 12);
  EXPECT_EQ(small.data_sets.BaseID("Nobody"), 0);
  EXPECT_EQ(small.Registry("SELECT BaseID FROM BaseIDs"), "12;10");
  EXPECT_TRUE(around.waits().empty() && around.questions().empty());
}

TEST(BaseId, AFailedPassIsCancelledAndRepeated) {
  SmallRegistry small;
  Surroundings around;
  small.ChangeRegistry(kRefuse);
  around.on_wait = [&](std::size_t wait) {
    if (wait == 1) small.ChangeRegistry(kAllow);
  };
  EXPECT_EQ(small.data_sets.BaseID("AbsRefID"), 11);
  ASSERT_EQ(around.waits().size(), 2U);
  EXPECT_EQ(around.waits()[0], 500);
  EXPECT_LE(around.waits()[1], 500);
}

TEST(BaseId, AsksAfterSevenPasses) {
  SmallRegistry small;
  Surroundings around;
  const auto unopened = Connection::Create();
  small.connection.SetRegistry(unopened);
  EXPECT_EQ(small.data_sets.BaseID("AbsRefID"), -1);
  EXPECT_EQ(around.waits().size(), 12U);
  ASSERT_EQ(around.questions().size(), 1U);
  const Failure closed = Raises([&] { unopened->CreateRecordset()->Close(); });
  const Message& question = around.questions()[0];
  EXPECT_EQ(question.text,
            "Cannot lock BASEIDs table to update AbsRefID.\r\nDo you want to retry?Error: " +
                closed.description + "(3704)");
  EXPECT_EQ(question.title, "Velmora");
  EXPECT_EQ(question.buttons, MessageButtons::kYesNo);
  EXPECT_EQ(question.icon, MessageIcon::kNone);
}

TEST(BaseId, YesStartsAgain) {
  SmallRegistry small;
  Surroundings around;
  small.ChangeRegistry(kRefuse);
  around.on_question = [&](std::size_t question) {
    if (question == 2) small.ChangeRegistry(kAllow);
    return MessageAnswer::kYes;
  };
  EXPECT_EQ(small.data_sets.BaseID("AbsRefID"), 11);
  EXPECT_EQ(around.questions().size(), 2U);
  EXPECT_EQ(around.waits().size(), 28U);
}

TEST(BaseId, TheSeventhPassAsksEvenWhenItSucceeded) {
  for (const bool retry : {false, true}) {
    SmallRegistry small;
    Surroundings around;
    small.ChangeRegistry(kRefuse);
    around.on_wait = [&](std::size_t wait) {
      if (wait == 12) small.ChangeRegistry(kAllow);
    };
    around.on_question = [&](std::size_t) {
      return retry ? MessageAnswer::kYes : MessageAnswer::kNo;
    };
    EXPECT_EQ(small.data_sets.BaseID("AbsRefID"), retry ? 12 : -1);
    ASSERT_EQ(around.questions().size(), 1U);
    EXPECT_TRUE(around.questions()[0].text.ends_with("retry?Error: (0)"));
    EXPECT_EQ(small.Registry("SELECT BaseID FROM BaseIDs WHERE BaseIDName = 'AbsRefID'"),
              retry ? "12" : "11");
  }
}

// A reader in the way of the commit, as databases without a write-ahead log have it.
TEST(BaseId, ACommitThatFailsIsUndone) {
  SmallRegistry small;
  Surroundings around;
  const auto registry = small.connection.Registry();
  registry->Close();
  small.ChangeRegistry("PRAGMA journal_mode=DELETE");
  registry->SetCommandTimeout(1);
  registry->Open();
  auto reader = std::make_optional<SqliteFile>(small.registry_path);
  reader->Exec("BEGIN; SELECT count(*) FROM BaseIDs");
  around.on_wait = [&](std::size_t) { reader.reset(); };
  EXPECT_EQ(small.data_sets.BaseID("AbsRefID"), 11);
  EXPECT_EQ(around.waits().size(), 2U);
  EXPECT_EQ(registry->BeginTrans(), 1) << "a transaction was left open";
}

TEST(BaseId, TheAnswerMayConnectAnew) {
  SmallRegistry small;
  Surroundings around;
  small.ChangeRegistry(kRefuse);
  around.on_question = [&](std::size_t) {
    small.connection.Disconnect();
    small.ChangeRegistry(kAllow);
    small.connection.SetRegistry(OpenSqlite(small.registry_path));
    return MessageAnswer::kYes;
  };
  EXPECT_EQ(small.data_sets.BaseID("AbsRefID"), 11);
}

// A client of its own: takes identifiers and writes them down.
int TakeIdentifiers(const std::string& registry, const std::string& file, int count) {
  const SessionScope session;
  Surroundings around;
  around.on_wait = [](std::size_t wait) {
    std::this_thread::sleep_for(std::chrono::milliseconds(wait * 7 % 5 + 1));
  };
  around.on_question = [](std::size_t) { return MessageAnswer::kYes; };
  QMConnection().SetRegistry(OpenSqlite(registry));
  QMDataSets data_sets;
  std::ofstream out(file);
  for (int i = 0; i < count; ++i) out << data_sets.BaseID("AbsRefID") << '\n';
  return out.good() ? 0 : 1;
}

TEST(BaseId, EightProcessesGetDifferentIdentifiers) {
  constexpr int kClients = 8;
  constexpr int kEach = 500;
  const TempFolder folder;
  const std::string registry = MakeDatabase(folder.File("registry.db"), RegistryScript());
  std::vector<pid_t> clients;
  for (int client = 0; client < kClients; ++client) {
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      int result = 1;
      try {
        result = TakeIdentifiers(registry, folder.File(std::to_string(client)), kEach);
      } catch (const Error&) {
        result = 2;
      }
      _exit(result);
    }
    clients.push_back(pid);
  }
  std::set<std::int32_t> identifiers;
  for (int client = 0; client < kClients; ++client) {
    int status = -1;
    waitpid(clients[static_cast<std::size_t>(client)], &status, 0);
    EXPECT_EQ(status, 0);
    std::ifstream in(folder.File(std::to_string(client)));
    for (std::int32_t id = 0; in >> id;) identifiers.insert(id);
  }
  EXPECT_EQ(identifiers.size(), static_cast<std::size_t>(kClients * kEach));
  EXPECT_GT(*identifiers.begin(), 10);
}

}  // namespace
}  // namespace qm::test

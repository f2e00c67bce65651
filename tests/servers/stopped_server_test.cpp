// A server that stops in the middle of the work: each piece of work ends soon and with a clear
// error, what is stored is whole, and once the server is back the work can be done again.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <thread>

#include <qm/conversions.h>
#include <qm/data_sets.h>
#include <qm/hooks.h>
#include <qm/qm_connection.h>

#include "support/raises.h"
#include "support/run_program.h"
#include "support/servers.h"

namespace qm::test {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::StartsWith;
using Clock = std::chrono::steady_clock;

constexpr const char* kLost = "the connection to the server is lost";
constexpr auto kSoon = 30s;  // the retries for an identifier included, with sanitizers

struct Engine {
  const char* name;
  const char* server;
  const char* variable;
};
constexpr Engine kServers[] = {{"PostgreSQL", "postgresql", "QM_TEST_POSTGRESQL='"},
                               {"MariaDB", "mariadb", "QM_TEST_MARIADB='"}};

// A server of the test's own, since the others' are in use.
class OwnServer {
 public:
  explicit OwnServer(const Engine& engine) : engine_(engine) {
    Run("start");
    const std::string env = folder_.Read("env");
    const std::size_t at = env.find(engine.variable);
    if (at == std::string::npos) return;
    const std::size_t start = at + std::string_view(engine.variable).size();
    connection_string_ = env.substr(start, env.find('\'', start) - start);
  }
  ~OwnServer() { Run("stop"); }
  OwnServer(const OwnServer&) = delete;
  OwnServer& operator=(const OwnServer&) = delete;

  bool IsThere() const { return !connection_string_.empty(); }
  const std::string& ConnectionString() const { return connection_string_; }
  void Halt() const { Run("halt"); }
  void Resume() const { Run("resume"); }
  std::shared_ptr<Connection> Open() const {
    auto connection = Connection::Create();
    connection->Open(connection_string_);
    return connection;
  }
  std::int32_t Number(const std::string& query) const {
    return ToInt32(Open()->Execute(query)->Value(0));
  }

 private:
  void Run(const char* command) const {
    const ProgramResult done =
        RunProgram({"/bin/bash", QM_SERVERS, command, folder_.path().string(), engine_.server});
    EXPECT_TRUE(done.exit_code == 0 || !IsThere()) << command << ": " << done.err;
  }

  const Engine& engine_;
  TempFolder folder_;
  std::string connection_string_;
};

class StoppedServer : public testing::TestWithParam<Engine> {
 protected:
  void SetUp() override {
    if (!server_.IsThere()) GTEST_SKIP() << GetParam().name << " is not installed";
  }

  OwnServer server_{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Engines, StoppedServer, testing::ValuesIn(kServers),
                         [](const auto& test) { return test.param.name; });

// `qm` on the databases of a server, or of a folder.
class Registry {
 public:
  explicit Registry(std::string connection_string = {})
      : connection_string_(std::move(connection_string)) {
    // A driver may keep what it had when its connection broke.
    const std::string known = folder_.Write("known", "leak:psqlodbcw.so\nleak:libmaodbc.so\n");
    setenv("LSAN_OPTIONS", ("print_suppressions=0:suppressions=" + known).c_str(), 1);
  }

  std::vector<std::string> Command(std::vector<std::string> words) const {
    words.insert(words.begin(), QM_TOOL);
    if (words[1] == "copy") return words;
    words.insert(words.end(), {"-d", Folder()});
    if (connection_string_.empty()) return words;
    words.insert(words.end(), {"--registry", connection_string_, "--control", connection_string_});
    return words;
  }
  std::string Run(const std::vector<std::string>& words) const {
    const ProgramResult result = RunProgram(Command(words));
    EXPECT_EQ(result.exit_code, 0) << words[0] << ": " << result.err;
    return result.out;
  }
  std::string Folder() const { return folder_.path().string(); }
  std::string File(const char* name) const { return folder_.File(name); }
  std::string Read(const char* name) const { return folder_.Read(name); }

 private:
  std::string connection_string_;
  TempFolder folder_;
};

// Halts the server once a command has begun, and starts it again when the command has ended.
void Interrupt(const OwnServer& server, const std::vector<std::string>& command,
               const std::function<bool(const Program&)>& has_begun) {
  SCOPED_TRACE(command[1]);
  Program program(command);
  while (program.Running() && !has_begun(program)) std::this_thread::sleep_for(5ms);
  program.Send(SIGSTOP);  // or it might come to its end meanwhile
  EXPECT_TRUE(program.Running()) << "it was done before";
  server.Halt();
  program.Send(SIGCONT);
  for (const auto end = Clock::now() + kSoon; program.Running();) {
    if (Clock::now() > end) program.Kill();
    std::this_thread::sleep_for(5ms);
  }
  const ProgramResult result = program.Wait();
  EXPECT_EQ(result.exit_code, 1) << result.err;
  EXPECT_THAT(result.err, HasSubstr(kLost));
  server.Resume();
}

TEST_P(StoppedServer, WhatACommandBeganTheNextRunFinishes) {
  const Registry files;
  const Registry registry(server_.ConnectionString());
  for (const Registry* each : {&files, &registry}) {
    each->Run({"init", "--layout", "18"});
    each->Run({"generate", "--patients", "30", "--incoming", "24", "--seed", "4"});
  }
  const auto reaches = [this](const char* table_and_condition, int count) {
    return [=, this](const Program&) {
      return server_.Number(std::string("SELECT count(*) FROM ") + table_and_condition) >= count;
    };
  };
  const auto interrupt = [&](const std::vector<std::string>& words, const auto& has_begun) {
    Interrupt(server_, registry.Command(words), has_begun);
    EXPECT_EQ(registry.Run({"check"}), "registry checked: nothing found\n") << words[0];
    const std::int32_t abstracts = server_.Number("SELECT count(*) FROM Abstracts");
    for (const char* other : {"Abstracts_2", "Abstracts_3", "QMAudit WHERE Action = 'import'"}) {
      EXPECT_EQ(server_.Number(std::string("SELECT count(*) FROM ") + other), abstracts) << other;
    }
  };

  const std::vector<std::string> import = {"import", registry.File("incoming.txt"), "--batch", "4"};
  interrupt(import, reaches("Abstracts", 1));
  interrupt(import, reaches("Abstracts", 8));
  EXPECT_THAT(registry.Run(import), HasSubstr("imported 24, rejected 0, gone on behind line "));
  EXPECT_THAT(registry.Run(import), HasSubstr("already imported: imported 24"));
  files.Run({"import", files.File("incoming.txt")});

  const std::vector<std::string> match = {"match", "--all", "--explain", "--format", "csv"};
  EXPECT_EQ(registry.Run(match), files.Run(match));

  const std::vector<std::string> link = {"link", "--auto", "90", "--format", "csv"};
  interrupt(link, reaches("Abstracts WHERE PatientID > 0", 1));
  EXPECT_EQ(registry.Run(link), files.Run(link));
  for (const Registry* each : {&files, &registry}) {
    each->Run({"export", "--tumors", "-o", each->File("out.txt")});
  }
  EXPECT_EQ(registry.Read("out.txt"), files.Read("out.txt"));

  server_.Open()->Execute("CREATE DATABASE copied");
  std::string to = server_.ConnectionString();
  to.replace(to.find("=qm;"), 4, "=copied;");
  const auto copy = registry.Command({"copy", files.Folder(), to});
  Interrupt(server_, copy, [&](const Program&) {
    const auto connection = Connection::Create();
    connection->Open(to);
    return Raises([&] { connection->Execute("SELECT * FROM Abstracts"); }).number == 0;
  });
  registry.Run({"copy", files.Folder(), to});
}

struct Edit {
  std::int32_t lock;
  bool transaction;
};

TEST_P(StoppedServer, AnEditUnderWayIsRefusedAndLeavesItsRow) {
  constexpr Edit kEdits[] = {{kLockOptimistic, false},
                             {kLockOptimistic, true},
                             {kLockPessimistic, false},
                             {kLockPessimistic, true}};
  constexpr int kRows = 1 << 15;
  {
    const auto connection = server_.Open();
    for (const char* statement :
         {"CREATE TABLE Patients (PatientID INTEGER PRIMARY KEY, LastName VARCHAR(900))",
          "CREATE TABLE BaseIDs (BaseIDName VARCHAR(20) PRIMARY KEY, BaseID INTEGER)",
          "CREATE TABLE LOCKMANAGER (TABLENAME VARCHAR(20) PRIMARY KEY, LOCKSTATUS VARCHAR(1),"
          " USERID VARCHAR(20))",
          "INSERT INTO BaseIDs VALUES ('PatientID', 10)",
          "INSERT INTO LOCKMANAGER VALUES ('PAT', 'U', '')",
          "INSERT INTO Patients VALUES (1, repeat('x', 900))"}) {
      connection->Execute(statement);
    }
    for (int rows = 1; rows < kRows; rows *= 2) {
      const std::string number = std::to_string(rows);
      connection->Execute("INSERT INTO Patients SELECT PatientID + " + number +
                          ", LastName FROM Patients WHERE PatientID <= " + number);
    }
  }
  std::vector<std::shared_ptr<Connection>> connections;
  std::vector<std::shared_ptr<Recordset>> edits;
  int row = 0;
  const auto open = [&](std::int32_t type, std::int32_t lock, const std::string& condition) {
    auto rows = connections.back()->CreateRecordset();
    rows->Open("SELECT * FROM Patients" + condition, connections.back(), type, lock);
    return rows;
  };
  for (const Edit& edit : kEdits) {
    connections.push_back(server_.Open());
    if (edit.transaction) connections.back()->BeginTrans();
    edits.push_back(open(kOpenKeyset, edit.lock, " WHERE PatientID = " + std::to_string(++row)));
    edits.back()->SetValue("LastName", "edited");
  }
  connections.push_back(server_.Open());
  const auto stream = open(kOpenForwardOnly, kLockReadOnly, "");
  // A lock pass, tried again without end as long as the row is held.
  const auto holder = server_.Open();
  const auto held = holder->CreateRecordset();
  held->Open("SELECT * FROM LOCKMANAGER", holder, kOpenKeyset, kLockPessimistic);
  held->SetValue("USERID", "bob");
  auto locking = std::async(std::launch::async, [this] {
    QMConnection session;
    session.SetUser("ann");
    session.SetRegistry(server_.Open());
    session.Registry()->SetCommandTimeout(1);
    std::string tables = "PAT";
    return Raises([&] { session.TablesLocked(tables); });
  });
  std::this_thread::sleep_for(1500ms);
  server_.Halt();

  const auto start = Clock::now();
  const auto expect_lost = [](const char* what, const Failure& failure) {
    EXPECT_EQ(failure.number, kErrEngine) << what;
    EXPECT_THAT(failure.description, StartsWith(kLost)) << what;
  };
  for (std::size_t i = 0; i < edits.size(); ++i) {
    SCOPED_TRACE(i);
    expect_lost("update", Raises([&] { edits[i]->Update(); }));
    expect_lost("again", Raises([&] { edits[i]->Update(); }));
    edits[i]->CancelUpdate();
    // Its transaction is gone.
    EXPECT_EQ(Raises([&] { connections[i]->CommitTrans(); }).number, kErrNoTransaction);
    expect_lost("begin", Raises([&] { connections[i]->BeginTrans(); }));
  }
  expect_lost("table locks", locking.get());
  // Rows that the driver has already may be read, but the end is not taken for theirs.
  int read = 0;
  const Failure cut = Raises([&] {
    for (; !stream->Eof(); stream->MoveNext()) ++read;
  });
  if (read < kRows) expect_lost("stream", cut);
  const auto former_wait = SetWaiter([](std::chrono::milliseconds) {});
  QMConnection session;
  session.SetRegistry(connections.back());
  EXPECT_EQ(QMDataSets().BaseID("PatientID"), -1);
  SetWaiter(former_wait);
  connections[0]->Close();
  const Failure refused = Raises([&] { connections[0]->Open(); });
  EXPECT_EQ(refused.number, kErrEngine);
  EXPECT_THAT(refused.description, StartsWith("cannot connect: "));
  EXPECT_LT(Clock::now() - start, kSoon);

  server_.Resume();
  expect_lost("no new connection without a word",
              Raises([&] { connections[1]->Execute("SELECT 1"); }));
  EXPECT_EQ(server_.Number("SELECT count(*) FROM Patients WHERE LastName = 'edited'"), 0);
  for (const auto& connection : connections) {
    if (connection->State() == kStateOpen) connection->Close();
    connection->Open();
  }
  const auto again = open(kOpenKeyset, kLockPessimistic, " WHERE PatientID = 1");
  again->SetValue("LastName", "edited");
  again->Update();
  EXPECT_EQ(server_.Number("SELECT count(*) FROM Patients WHERE LastName = 'edited'"), 1);
}

}  // namespace
}  // namespace qm::test

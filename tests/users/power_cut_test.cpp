// A process that dies at any statement while it saves: what the database then holds.
#include <gtest/gtest.h>
#include <qm/audit_log.h>
#include <qm/error.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <set>

#include "session/own_tables.h"
#include "support/power_cut.h"
#include "support/small_registry.h"

namespace qm::test {
namespace {

struct SessionOf {
  SessionOf(const std::string& control, const std::string& registry) {
    connection.SetControl(OpenSqlite(control));
    connection.SetRegistry(OpenSqlite(registry));
    data_sets.GetNAACCRLayout();
  }
  QMConnection connection;
  QMDataSets data_sets;
};

void SetFields(Abstract& abstract) {
  abstract.SetFieldByName("LastName", "new");
  abstract.SetFieldByName("BirthDate", "new");
  abstract.SetFieldByName("SocSec", "new");
  abstract.SetFieldByName("TextDx", "new");
  abstract.Update();
  WriteAudit({"set", "abstract", {}, "all fields", ""});
}

void Edit(SessionOf& session) {
  session.connection.BeginTrans();
  Abstract abstract = session.data_sets.GetAbstract(5);
  SetFields(abstract);
  session.connection.CommitTrans();
}

void Add(SessionOf& session) {
  session.data_sets.OpenGlobalRecordsets();
  session.connection.BeginTrans();
  Abstract abstract = session.data_sets.GetAbstract();
  abstract.AddNew(4711);
  SetFields(abstract);
  session.connection.CommitTrans();
}

struct Case {
  const char* name;
  void (*save)(SessionOf& session);
  int id;
  const char* before;
  const char* after;
};
std::ostream& operator<<(std::ostream& out, const Case& c) { return out << c.name; }

class PowerCut : public testing::TestWithParam<Case> {};

TEST_P(PowerCut, LeavesTheOldRecordOrTheNewOneInAllTables) {
  const Case& c = GetParam();
  const TempFolder folder;
  const std::string control = MakeDatabase(folder.File("control.db"), ControlScript(SmallFields()));
  const std::string made = MakeDatabase(folder.File("made.db"), RegistryScript());
  for (const OwnTable& table : OwnTables()) SqliteFile(made).Exec(std::string(table.create));
  const std::string id = std::to_string(c.id);
  const std::string query =
      "SELECT (SELECT LastName FROM Abstracts WHERE AbsRefID = " + id +
      "), (SELECT Remarks LIKE '%new%' FROM Abstracts WHERE AbsRefID = " + id +
      "), (SELECT BirthDate FROM Abstracts_2 WHERE AbsRefID = " + id +
      "), (SELECT SocSec FROM Abstracts_3 WHERE AbsRefID = " + id +
      "), (SELECT count(*) FROM QMAudit)";
  std::set<std::string> seen;
  int moment = 0;
  for (bool killed = true; killed; ++moment) {
    const std::string work = std::to_string(moment);
    std::filesystem::create_directory(folder.path() / work);
    const std::string registry = folder.File(work + "/registry.db");
    std::filesystem::copy_file(made, registry);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      int result = 1;
      try {
        DieAtMoment(moment);
        SessionOf session(control, registry);
        c.save(session);
        result = 0;
      } catch (const Error& error) {
        std::fprintf(stderr, "%d %s\n", error.number(), error.what());
      }
      _exit(result);
    }
    int status = 0;
    waitpid(child, &status, 0);
    killed = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    ASSERT_TRUE(killed || (WIFEXITED(status) && WEXITSTATUS(status) == 0)) << "moment " << moment;
    const std::string now = QueryText(registry, query);
    EXPECT_TRUE(now == c.before || now == c.after) << "moment " << moment << ": " << now;
    if (killed) {
      seen.insert(now);
    } else {
      EXPECT_EQ(now, c.after);
    }
    EXPECT_EQ(QueryText(registry, "PRAGMA integrity_check"), "ok");
    ASSERT_LT(moment, 500);
  }
  EXPECT_GT(moment, 12) << "begin and end of BEGIN, three updates and COMMIT at least";
  EXPECT_EQ(seen, (std::set<std::string>{c.before, c.after}));
}

INSTANTIATE_TEST_SUITE_P(
    Records, PowerCut,
    testing::Values(Case{"Edit", &Edit, 5, "Garcia |0|20010203|123|0", "new|1|new|new|1"},
                    Case{"Add", &Add, 4711, "NULL|NULL|NULL|NULL|0", "new|1|new|new|1"}),
    [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace qm::test

// Record and table locks: what each call answers, shows, asks the database and leaves behind, and
// what becomes of two users who come at once.
#include <gtest/gtest.h>
#include <qm/hooks.h>
#include <qm/qm_connection.h>
#include <qm/session.h>

#include <functional>

#include "session/lock_holder.h"
#include "support/raises.h"
#include "support/sqlite_fixture.h"

namespace qm::test {
namespace {

constexpr const char* kScript =
    "CREATE TABLE PATIENTS (PATIENTID INTEGER PRIMARY KEY, CaseLockedBy TEXT, CaseLockedTime TEXT);"
    "INSERT INTO PATIENTS VALUES (1, NULL, NULL), (2, 'bob', 't'), (3, 'ghost', 't'), (4, '', 't'),"
    " (5, 'ann', 't');"
    "CREATE TABLE ABSTRACTS (ABSREFID INTEGER PRIMARY KEY, AbstractLockedBy TEXT,"
    " AbstractLockedT TEXT);"
    "INSERT INTO ABSTRACTS SELECT * FROM PATIENTS;"
    "CREATE TABLE USERS (USERID TEXT, NAME TEXT);"
    "INSERT INTO USERS VALUES ('ann', 'Ann Lee'), ('bob', 'Bob Ray');"
    "CREATE TABLE LOCKMANAGER (TABLENAME TEXT PRIMARY KEY, LOCKSTATUS TEXT, USERID TEXT);"
    "INSERT INTO LOCKMANAGER VALUES ('ABS', 'U', ''), ('MED', NULL, NULL), ('PAT', 'L', 'bob');";
constexpr const char* kLockManager = "SELECT * FROM LOCKMANAGER WHERE LOCKSTATUS IS NOT 'U'";

// Ann's session on a registry of her own, with everything recorded that it shows and asks.
struct Registry {
  Registry() : path(MakeDatabase(folder.File("registry.db"), kScript)) {
    session.SetRegistry(OpenSqlite(path));
    session.SetUser("ann");
    session.Registry()->SetCommandTimeout(1);
    session.Registry()->SetStatementObserver(
        [this](std::string_view text) { statements.append(text).append(";"); });
    former = SetMessagePresenter([this](const Message& m) {
      if (fail_to_show) throw Error(4711, "box", "no screen");
      shown += std::to_string(static_cast<int>(m.icon)) + "," +
               std::to_string(static_cast<int>(m.buttons)) + "," + m.title + "," + m.text;
      return MessageAnswer::kOk;
    });
  }
  ~Registry() { SetMessagePresenter(former); }
  Registry(const Registry&) = delete;
  Registry& operator=(const Registry&) = delete;

  std::string Query(const std::string& text) const { return QueryText(path, text); }

  TempFolder folder;
  std::string path;
  SessionScope scope;
  QMConnection session;
  std::string statements;
  std::string shown;
  bool fail_to_show = false;
  MessagePresenter former;
};

using Call = std::function<bool(QMConnection&)>;

// "true", "false", or the number of the error.
std::string Answer(QMConnection& session, const Call& call) {
  std::string answer;
  const Failure failure = Raises([&] { answer = call(session) ? "true" : "false"; });
  return failure.number == 0 ? answer : std::to_string(failure.number);
}

Call Status(const char* id) {
  return [id](QMConnection& s) { return s.CaseLockStatus(id); };
}
Call LockCase(const char* id) {
  return [id](QMConnection& s) { return s.LockCase(id); };
}
Call LockAbstract(int id) {
  return [id](QMConnection& s) { return s.LockAbstract(id); };
}
Call UnlockCase(const char* id, std::optional<Variant> msg = {}) {
  return [id, msg](QMConnection& s) { return s.UnlockCase(id, msg, Variant("unused")); };
}
Call UnLockAbstract(int id, std::optional<Variant> msg = {}) {
  return [id, msg](QMConnection& s) { return s.UnLockAbstract(id, msg); };
}
Call LockTables(std::string list, std::optional<Variant> msg = {}) {
  return [list, msg](QMConnection& s) mutable { return s.TablesLocked(list, msg); };
}
Call UnlockTables(const char* list) {
  return [list](QMConnection& s) { return s.TablesUnlocked(list); };
}

TEST(RecordLocks, AnswerShowAskAndWriteAsPublished) {
  const std::string status =
      "SELECT PATIENTID, CASELOCKEDBY, CaseLockedTime FROM PATIENTS WHERE PATIENTID = ";
  const std::string abstract =
      "SELECT ABSREFID,ABSTRACTLOCKEDBY, ABSTRACTLOCKEDT  FROM ABSTRACTS WHERE ABSREFID = ";
  const std::string free_case =
      "SELECT PATIENTID,CASELOCKEDBY, CaseLockedTime FROM PATIENTS WHERE PATIENTID = ";
  const std::string free_abstract =
      "SELECT ABSREFID,ABSTRACTLOCKEDBY, ABSTRACTLOCKEDT FROM ABSTRACTS WHERE ABSREFID = ";
  const auto user = [](const std::string& id) {
    return ";SELECT NAME FROM USERS WHERE USERID = '" + id + "';";
  };
  const struct {
    Call call;
    const char* answer;
    std::string shown;
    std::string statements;
    const char* changed;  ///< the row then; empty: as it was
  } cases[] = {
      {Status("1"), "false", "", status + "1;", ""},
      {Status("2"), "true", "16,0,Lock Case,Case is locked by Bob Ray.", status + "2" + user("bob"),
       ""},
      {Status("3"), "true", "16,0,Lock Case,Case is locked by an unknown user.",
       status + "3" + user("ghost"), ""},
      {Status("4"), "false", "", status + "4;", ""},
      {Status("9"), "false", "0,0,,Unable to find Case ID 9.", status + "9;", ""},
      {Status("2; DROP TABLE USERS"), "-2147220503", "", status + "2; DROP TABLE USERS;", ""},
      {LockCase("1"), "true", "", status + "1;", "1|ann|now"},
      {LockCase("5"), "false", "16,0,Lock Case,Case is locked by Ann Lee.",
       status + "5" + user("ann"), ""},
      {LockCase("4"), "false", "16,0,Lock Case,Case is locked by an unknown user.",
       status + "4" + user(""), ""},
      {LockCase("9"), "false", "0,0,,Unable to find Case ID 9.", status + "9;", ""},
      {LockAbstract(1), "true", "", abstract + "1;", "1|ann|now"},
      {LockAbstract(4), "true", "", abstract + "4;", "4|ann|now"},
      {LockAbstract(2), "false", "0,0,,Abstract is locked by Bob Ray.",
       abstract + "2" + user("bob"), ""},
      {LockAbstract(3), "false", "0,0,,Abstract is locked by an unknown user.",
       abstract + "3" + user("ghost"), ""},
      {LockAbstract(-9), "false", "0,0,,Unable to find Abstract ID -9.", abstract + "-9;", ""},
      {UnlockCase("2"), "true", "", free_case + "2;", "2|NULL|"},
      {UnlockCase("2", Variant(false)), "true", "0,0,,Case ID 2 is successfully unlocked.",
       free_case + "2;", "2|NULL|"},
      {UnlockCase("9", Variant(true)), "false", "", free_case + "9;", ""},
      {UnLockAbstract(2), "true", "", free_abstract + "2;", "2|NULL|NULL"},
      {UnLockAbstract(2, Variant::Null()), "true",
       "64,0,Unlock Case,Abstract ID 2 is successfully unlocked.", free_abstract + "2;",
       "2|NULL|NULL"},
      {UnLockAbstract(9), "false", "16,0,UnLock Abstract,Unable to find Abstract ID 9.",
       free_abstract + "9;", ""},
  };
  const std::string before =
      "(SELECT 1 AS a, NULL AS b, NULL AS c UNION VALUES (2, 'bob', 't'),"
      " (3, 'ghost', 't'), (4, '', 't'), (5, 'ann', 't'))";
  const std::string changed =
      "SELECT PATIENTID, CaseLockedBy, CASE WHEN CaseLockedTime GLOB '[1-9]*/[1-9]*/20[0-9][0-9]-"
      "[1-9]*:[0-5][0-9]:[0-5][0-9] [AP]M' THEN 'now' ELSE CaseLockedTime END"
      " FROM (SELECT * FROM PATIENTS UNION SELECT * FROM ABSTRACTS EXCEPT SELECT * FROM " +
      before + ")";
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    Registry registry;
    EXPECT_EQ(Answer(registry.session, c.call), c.answer);
    EXPECT_EQ(registry.shown, c.shown);
    EXPECT_EQ(registry.statements, c.statements);
    EXPECT_EQ(registry.Query(changed), c.changed);
  }
}

TEST(TableLocks, AnswerShowAskAndWriteAsPublished) {
  const std::string refusal =
      "64,0,Lock Tables,Some Table(s) in the Database are currently locked by the other use.  "
      "Please wait a moment and then try again, or let the administrator to unlock the tables "
      "under administration/unlock tables menu.";
  const std::string misread =
      " Tables,Unable to understand procedure parameters.  Contact your administrator.";
  const std::string unknown =
      "16,0,Lock Tables,Unable to identity table name for locking purpose.  Contact your "
      "administrator.";
  const std::string bobs = "PAT|L|bob";
  const struct {
    Call call;
    std::string answer;
    std::string shown;
    std::string then;  ///< rows that are not unlocked
  } cases[] = {
      {LockTables(" ABSMED "), "true", "", "ABS|L|ann;MED|L|ann;" + bobs},
      {LockTables("MEDABSMED"), "true", "", "ABS|L|ann;MED|L|ann;" + bobs},
      {LockTables("ABSPAT"), "false", refusal, "MED|NULL|NULL;" + bobs},
      {LockTables("PAT", Variant(5)), "false", "64,0,Lock Tables,5", "MED|NULL|NULL;" + bobs},
      {LockTables("ABS", Variant::Null()), "-2147220498", "", "MED|NULL|NULL;" + bobs},
      {LockTables("ABSP"), "false", "16,0,Lock" + misread, "MED|NULL|NULL;" + bobs},
      {LockTables("  "), "false", "16,0,Lock" + misread, "MED|NULL|NULL;" + bobs},
      {LockTables("MEDXYZ"), "false", unknown, "MED|NULL|NULL;" + bobs},
      {LockTables("abs"), "false", unknown, "MED|NULL|NULL;" + bobs},
      {UnlockTables("PATMED"), "true", "", ""},
      {UnlockTables("PATXYZMED"), "3021", "", "MED|NULL|NULL"},
      {UnlockTables(" PAT"), "false", "16,0,Unlock" + misread, "MED|NULL|NULL;" + bobs},
      {UnlockTables(""), "false", "16,0,Unlock" + misread, "MED|NULL|NULL;" + bobs},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    Registry registry;
    EXPECT_EQ(Answer(registry.session, c.call), c.answer);
    EXPECT_EQ(registry.shown, c.shown);
    const bool read = c.shown.find("parameters") == std::string::npos && c.answer != "-2147220498";
    EXPECT_EQ(registry.statements, read ? "SELECT * FROM LOCKMANAGER;" : "");
    EXPECT_EQ(registry.Query(kLockManager), c.then);
  }
  Registry registry;
  std::string list = "  ABS ";
  EXPECT_TRUE(registry.session.TablesLocked(list));
  EXPECT_EQ(list, "ABS");
  EXPECT_FALSE(registry.session.TablesLocked(list)) << "also the user's own lock is refused";
}

TEST(TableLocks, ABusyLockManagerIsOpenedTwice) {
  const std::string told = "\r\nLock Manager is currently inaccessable.";
  for (const Call& call : {LockTables("ABS"), UnlockTables("PAT")}) {
    const struct {
      int number;
      int failures;
      const char* answer;
      std::string shown;
      int tries;
    } cases[] = {{3254, 1, "true", "", 2},
                 {3254, 2, "false", "64,0,Lock Test,Error(3254), why" + told, 2},
                 {3704, 1, "false", "64,0,Lock Test,Error(3704), why" + told, 1}};
    for (const auto& c : cases) {
      Registry registry;
      int tries = 0;
      registry.session.Registry()->SetStatementObserver([&](std::string_view) {
        if (++tries <= c.failures) throw Error(c.number, "engine", "why", 1);
      });
      EXPECT_EQ(Answer(registry.session, call), c.answer);
      EXPECT_EQ(registry.shown, c.shown);
      EXPECT_EQ(tries, c.tries);
    }
  }
}

// A message box that fails shows where failures are trapped, and under which name.
TEST(Locks, TrapTheirFailuresSaveWhereThatIsSwitchedOff) {
  const struct {
    Call call;
    int number;
    const char* source;
  } cases[] = {{Status("2"), -2147220503, "QMObjects"},
               {LockAbstract(2), -2147220502, "QMObjects.QMConnection.LockAbstract"},
               {LockCase("2"), -2147220501, "QMObjects.QMConnection.LockCase"},
               {UnLockAbstract(9), -2147220500, "QMObjects.QMConnection.UnLockAbstract"},
               {UnlockCase("2", Variant(1)), -2147220499, "QMObjects.QMConnection.UnlockCase"},
               {LockTables("A"), -2147220498, "QMObjects.QMConnection.TablesLocked"},
               {UnlockTables("A"), -2147220497, "QMObjects.QMConnection.TablesUnlocked"},
               {Status("9"), 4711, "box"},
               {LockCase("9"), 4711, "box"},
               {LockAbstract(9), 4711, "box"},
               {LockTables("XYZ"), 4711, "box"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    Registry registry;
    registry.fail_to_show = true;
    const Failure failure = Raises([&] { c.call(registry.session); });
    EXPECT_EQ(failure.number, c.number);
    EXPECT_EQ(failure.source, c.source);
    EXPECT_EQ(failure.description, "no screen");
  }
}

// What is done when a statement of the watched connection begins.
std::function<void(std::string_view statement, bool in_transaction)> at_statement;

int AtStatement(unsigned, void* db, void*, void* text) {
  if (!at_statement) return 0;
  const bool in_transaction = sqlite3_get_autocommit(static_cast<sqlite3*>(db)) == 0;
  at_statement(static_cast<const char*>(text), in_transaction);
  return 0;
}

int Watch(sqlite3* db, char**, const void*) {
  return sqlite3_trace_v2(db, SQLITE_TRACE_STMT, &AtStatement, db);
}

std::shared_ptr<Connection> OpenWatched(const std::string& path) {
  const auto entry = reinterpret_cast<void (*)()>(&Watch);
  sqlite3_auto_extension(entry);
  auto connection = OpenSqlite(path);
  sqlite3_cancel_auto_extension(entry);
  connection->SetCommandTimeout(1);
  return connection;
}

// Bob comes before each statement of Ann's in turn that finds her outside a transaction; gives
// both answers for each.
std::vector<std::string> AnswersOfBoth(const Call& call) {
  std::vector<std::string> answers;
  for (int moment = 0;; ++moment) {
    Registry registry;
    const auto bobs = OpenSqlite(registry.path);
    registry.session.SetRegistry(OpenWatched(registry.path));
    std::string bob;
    at_statement = [&, left = moment](std::string_view, bool in_transaction) mutable {
      if (in_transaction || left-- != 0) return;
      const SessionScope scope;
      QMConnection session;
      session.SetRegistry(bobs);
      session.SetUser("bob");
      bob = Answer(session, call);
    };
    const std::string ann = Answer(registry.session, call);
    at_statement = nullptr;
    if (bob.empty()) return answers;
    answers.push_back(ann + " " + bob);
  }
}

TEST(Locks, OfTwoWhoComeAtOnceOneGetsARecordAndBothMayGetATable) {
  for (const Call& call : {LockCase("1"), LockAbstract(1), LockAbstract(4)}) {
    const auto answers = AnswersOfBoth(call);
    EXPECT_GT(answers.size(), 1U);
    EXPECT_EQ(answers.front(), "false true");
    EXPECT_TRUE(answers.back().starts_with("-21472205") && answers.back().ends_with(" true"))
        << "Ann finds the row changed: " << answers.back();
    for (const std::string& each : answers) EXPECT_NE(each, "true true");
  }
  const auto answers = AnswersOfBoth(LockTables("ABSMED"));
  EXPECT_EQ(answers.front(), "false true");
  EXPECT_EQ(answers.back(), "true false") << "Bob comes when a table is marked";
  EXPECT_NE(std::find(answers.begin(), answers.end(), "true true"), answers.end());
}

TEST(Locks, ABusyRowIsAnErrorOfARecordLockAndEndsTheLoopOfATableLockWhenItIsFreed) {
  Registry registry;
  SqliteFile other(registry.path);
  other.Exec("BEGIN IMMEDIATE; UPDATE LOCKMANAGER SET USERID = 'eve' WHERE TABLENAME = 'ABS'");
  EXPECT_EQ(Answer(registry.session, LockCase("1")), "-2147220501");
  registry.session.SetRegistry(OpenWatched(registry.path));
  int tries = 0;
  at_statement = [&](std::string_view statement, bool) {
    if (statement.starts_with("BEGIN") && ++tries == 2) other.Exec("COMMIT");
  };
  EXPECT_EQ(Answer(registry.session, LockTables("MEDABS")), "true");
  at_statement = nullptr;
  EXPECT_EQ(registry.Query(kLockManager), "ABS|L|ann;MED|L|ann;PAT|L|bob");
  EXPECT_EQ(registry.shown, "");
}

TEST(Locks, AnotherHolderIsToldSilently) {
  Registry registry;
  const char* holders[] = {"", "bob", "ghost", "", "", ""};
  for (int id = 1; id <= 6; ++id) {
    for (const LockedRecord kind : {LockedRecord::kCase, LockedRecord::kAbstract}) {
      EXPECT_EQ(LockHolder(kind, id).value_or(""), holders[id - 1]) << id;
    }
  }
  EXPECT_EQ(registry.shown, "");
}

}  // namespace
}  // namespace qm::test

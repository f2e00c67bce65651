#include <gtest/gtest.h>
#include <qm/error.h>
#include <qm/qm_connection.h>
#include <qm/session.h>

#include <thread>

#include "support/raises.h"
#include "support/sqlite_fixture.h"

namespace qm::test {
namespace {

struct Slot {
  std::shared_ptr<Connection> (QMConnection::*get)() const;
  void (QMConnection::*set)(std::shared_ptr<Connection>);
};
constexpr Slot kSlots[] = {{&QMConnection::Registry, &QMConnection::SetRegistry},
                           {&QMConnection::Control, &QMConnection::SetControl},
                           {&QMConnection::Catval, &QMConnection::SetCatval},
                           {&QMConnection::Edits, &QMConnection::SetEdits},
                           {&QMConnection::Inprocess, &QMConnection::SetInprocess},
                           {&QMConnection::Track, &QMConnection::SetTrack}};

TEST(Session, SlotsAreSharedByObjectsOfAThreadAndNeverEmpty) {
  const SessionScope scope;
  QMConnection one;
  QMConnection other;
  for (const Slot& slot : kSlots) {
    const auto made = (one.*slot.get)();
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->State(), kStateClosed);
    EXPECT_EQ((other.*slot.get)(), made);
    const auto given = Connection::Create();
    (other.*slot.set)(given);
    EXPECT_EQ((one.*slot.get)(), given);
    for (const Slot& another : kSlots) {
      EXPECT_EQ((one.*another.get)() == given, another.get == slot.get);
    }
  }
  EXPECT_EQ(one.User() + one.ApplicationName(), "");
  one.SetUser("ann");
  one.SetApplicationName("Velmora");
  EXPECT_EQ(other.User() + other.ApplicationName(), "annVelmora");
}

TEST(Session, EveryThreadAndEveryScopeStartsEmpty) {
  const SessionScope scope;
  QMConnection connection;
  connection.SetUser("ann");
  const auto registry = connection.Registry();
  std::thread([&] {
    EXPECT_EQ(QMConnection().User(), "");
    QMConnection().SetUser("bob");
  }).join();
  {
    const SessionScope inner;
    EXPECT_EQ(connection.User(), "");
    EXPECT_NE(connection.Registry(), registry);
    connection.SetUser("eve");
  }
  EXPECT_EQ(connection.User(), "ann");
  EXPECT_EQ(connection.Registry(), registry);
}

TEST(Session, ConnectOpensWithItsSettingsAndStoresNothing) {
  const SessionScope scope;
  const TempFolder folder;
  const std::string path = MakeDatabase(folder.File("a.db"), "CREATE TABLE t (a)");
  QMConnection session;
  const auto connection = session.Connect(SqliteConnectionString(path), qmModeReadWrite, 4, 9);
  EXPECT_EQ(connection->State(), kStateOpen);
  EXPECT_EQ(connection->ConnectionTimeout(), 4);
  EXPECT_EQ(connection->CommandTimeout(), 9);
  EXPECT_EQ(connection->Mode(), qmModeReadWrite);
  EXPECT_EQ(session.Registry()->State(), kStateClosed);

  for (const std::string& bad : {std::string("Provider=Nothing;Data Source=x"),
                                 SqliteConnectionString(folder.File("none.db"))}) {
    const Failure failure = Raises([&] { session.Connect(bad, qmModeReadWrite, 4, 9); });
    EXPECT_EQ(failure.number, -2147220504) << bad;
    EXPECT_EQ(failure.source, "QMObjects.QMConnecion.Connect");
    const Failure plain = Raises([&] { Connection::Create()->Open(bad); });
    EXPECT_EQ(failure.description, plain.description);
  }
}

TEST(Session, DisconnectClosesAnOpenRegistryOnly) {
  const SessionScope scope;
  const TempFolder folder;
  const std::string path = MakeDatabase(folder.File("a.db"), "CREATE TABLE t (a)");
  QMConnection session;
  const auto unopened = session.Registry();
  session.Disconnect();
  EXPECT_EQ(session.Registry(), unopened);

  const auto registry = OpenSqlite(path);
  session.SetRegistry(registry);
  session.SetControl(OpenSqlite(path));
  session.BeginTrans();
  EXPECT_EQ(Raises([&] { session.BeginTrans(); }).number, kErrNestedTransaction);
  registry->Execute("INSERT INTO t VALUES (1)");
  session.CommitTrans();
  session.BeginTrans();
  registry->Execute("INSERT INTO t VALUES (2)");
  session.RollBackTrans();
  EXPECT_EQ(QueryText(path, "SELECT a FROM t"), "1");

  session.Disconnect();
  session.Disconnect();
  EXPECT_EQ(registry->State(), kStateClosed);
  EXPECT_NE(session.Registry(), registry);
  EXPECT_EQ(session.Control()->State(), kStateOpen);
  EXPECT_EQ(Raises([&] { session.CommitTrans(); }).number, kErrObjectClosed);
}

}  // namespace
}  // namespace qm::test

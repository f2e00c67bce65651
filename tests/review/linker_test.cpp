// Linking abstracts and taking links back: what stays, what is refused, what several users and a
// killed process leave.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <filesystem>
#include <functional>
#include <future>
#include <set>

#include "review/link_registry.h"
#include "support/other_process.h"
#include "support/power_cut.h"
#include "support/raises.h"

namespace qm::test {
namespace {

using testing::HasSubstr;

using Operation = std::function<void(Linker& linker)>;

TEST(Linker, UnlinkLeavesEveryTableAsItWas) {
  struct Case {
    const char* name;
    std::int32_t abstract;
    std::function<LinkResult(Linker& linker)> link;
    const char* result;  ///< identifiers of the abstract and of the link's parts
    const char* detail;
  };
  const ReviewNote note{"JD", "it's the same", "d.csv"};
  const Case cases[] = {
      {"to a patient", 5, [&](Linker& l) { return l.LinkToPatient(5, 10, note); }, "10|101|0|1",
       "patient 10, tumor 101 (new), score 100, reviewer JD: it's the same"},
      {"to a new one", 12, [](Linker& l) { return l.LinkToNewPatient(12); }, "11|101|1|1",
       "patient 11 (new), tumor 101 (new)"},
      {"to a tumor", 11, [](Linker& l) { return l.LinkToTumor(11, 7, 71); }, "7|71|0|0",
       "patient 7, tumor 71, score 60"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    LinkRegistry small;
    const std::string id = std::to_string(c.abstract);
    const std::string before = AllRows(small.registry);
    const LinkResult result = c.link(small.linker);
    EXPECT_EQ(small.Query("SELECT a.PatientID, a.MedRefID, NewPatient, NewTumor FROM Abstracts a"
                          " JOIN QMLinks USING (AbsRefID) WHERE AbsRefID = " +
                          id),
              c.result);
    EXPECT_EQ(small.Query("SELECT PatientID FROM MedicalSum WHERE MedRefID = " +
                          std::to_string(result.tumor_id)),
              std::to_string(result.patient_id));
    EXPECT_EQ(small.Query("SELECT Action, RecordKind, RecordID, Detail FROM QMAudit"),
              "link|abstract|" + id + "|" + c.detail);
    const std::string linked = AllRows(small.registry);
    EXPECT_TRUE(c.link(small.linker).already_linked);
    EXPECT_EQ(AllRows(small.registry), linked);
    // A lock that came and went is no change.
    small.Change("UPDATE Patients SET CaseLockedTime = ''");
    small.linker.Unlink(c.abstract);
    small.Change("UPDATE Patients SET CaseLockedTime = NULL");
    EXPECT_EQ(AllRows(small.registry), before);
    EXPECT_EQ(small.Query("SELECT count(*) FROM QMAudit WHERE Action = 'unlink'"), "1");
  }
}

TEST(Linker, RefusesAndChangesNothing) {
  struct Case {
    const char* setup;
    Operation operation;
    std::int32_t number;
    const char* text;
  };
  const auto none = [](Linker&) {};
  const auto first = [](Linker& l) { l.LinkToNewPatient(12); };
  const Case cases[] = {
      {"", [](Linker& l) { l.LinkToPatient(4711, 7); }, 3021, "abstract 4711 does not exist"},
      {"", [](Linker& l) { l.LinkToPatient(5, 4711); }, 3021, "patient 4711 does not exist"},
      {"", [](Linker& l) { l.LinkToTumor(5, 7, 72); }, 3021, "tumor 72 is not of patient 7"},
      {"", [](Linker& l) { l.LinkToPatient(6, 9); }, 457, "abstract 6 is linked to patient 7"},
      {"", [](Linker& l) { l.LinkToNewPatient(6); }, 457, "abstract 6 is linked"},
      {"", [](Linker& l) { l.Unlink(6); }, 3021, "was linked by another application"},
      {"", [](Linker& l) { l.Unlink(5); }, 3021, "abstract 5 is not linked"},
      {"", [](Linker& l) { l.Decline(6, 7); }, 3219, "abstract 6 is linked to patient 7"},
      {"UPDATE Patients SET CaseLockedBy = 'you'", [](Linker& l) { l.LinkToPatient(5, 9); }, 70,
       "locked by you"},
      {"UPDATE Abstracts SET AbstractLockedBy = 'you'", [](Linker& l) { l.LinkToNewPatient(5); },
       70, "locked by you"},
      {"DELETE FROM Abstracts_2 WHERE AbsRefID = 11", [](Linker& l) { l.LinkToNewPatient(11); },
       3021, "has no row in Abstracts_2"},
      {"DELETE FROM BaseIDs WHERE BaseIDName = 'MedRefID'",
       [](Linker& l) { l.LinkToNewPatient(11); }, 3021, "MedRefID"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    LinkRegistry small;
    small.Change(c.setup);
    const std::string before = AllRows(small.registry);
    const Failure failure = Raises([&] { c.operation(small.linker); });
    EXPECT_EQ(failure.number, c.number);
    EXPECT_THAT(failure.description, HasSubstr(c.text));
    EXPECT_EQ(AllRows(small.registry), before);
  }
  // Each after abstract 12 became new patient 11 with tumor 101.
  const Case losses[] = {
      {"UPDATE Patients SET Sex = '1' WHERE PatientID = 11", none, 3219, "patient 11 was changed"},
      {"UPDATE MedicalSum_2 SET HistCode = 'x' WHERE MedRefID = 101", none, 3219,
       "tumor 101 was changed"},
      {"UPDATE Abstracts SET PatientID = 7 WHERE AbsRefID = 12", none, 3219,
       "abstract 12 was changed"},
      {"", [](Linker& l) { l.LinkToPatient(5, 11); }, 3219, "other abstracts of patient 11"},
      {"", [](Linker& l) { l.LinkToTumor(5, 11, 101); }, 3219, "other abstracts of patient 11"},
      {"INSERT INTO MedicalSum (MedRefID, PatientID) VALUES (500, 11)", none, 3219,
       "other tumors of patient 11"},
      {"UPDATE Patients SET CaseLockedBy = 'you' WHERE PatientID = 11", none, 70, "locked by you"}};
  for (const Case& c : losses) {
    SCOPED_TRACE(c.text);
    LinkRegistry small;
    first(small.linker);
    c.operation(small.linker);
    small.Change(c.setup);
    const std::string before = AllRows(small.registry);
    for (const bool discard : {false, true}) {
      const bool given_up = discard && std::string_view(c.text).ends_with("was changed");
      const Failure failure = Raises([&] { small.linker.Unlink(12, discard); });
      EXPECT_EQ(failure.number, given_up ? 0 : c.number) << discard;
      if (!given_up) {
        EXPECT_THAT(failure.description, HasSubstr(c.text));
        EXPECT_EQ(AllRows(small.registry), before);
      }
    }
  }
}

TEST(Linker, ALinkChangedByAnotherApplicationIsUndoneFirst) {
  LinkRegistry small;
  small.linker.LinkToPatient(5, 10);
  small.Change("UPDATE Abstracts SET PatientID = NULL WHERE AbsRefID = 5");
  EXPECT_EQ(Raises([&] { small.linker.LinkToPatient(5, 9); }).number, 3219);
  small.linker.Unlink(5, true);
  EXPECT_EQ(small.linker.LinkToPatient(5, 9).patient_id, 9);
  EXPECT_EQ(small.Query("SELECT count(*) FROM MedicalSum WHERE MedRefID > 100"), "1");
}

TEST(Linker, IsPartOfTheCallersTransaction) {
  LinkRegistry small;
  const std::string before = AllRows(small.registry);
  small.linker.UnlinkedAbstracts();
  {
    const Transaction transaction(QMConnection().Registry());
    small.linker.LinkToPatient(5, 10);
    small.linker.Decline(11, 7);
    EXPECT_EQ(Raises([&] { small.linker.LinkToPatient(6, 9); }).number, 457);
    EXPECT_EQ(small.linker.UnlinkedAbstracts(), (std::vector<std::int32_t>{11, 12}));
  }
  EXPECT_EQ(AllRows(small.registry), before);
  EXPECT_EQ(small.linker.UnlinkedAbstracts(), (std::vector<std::int32_t>{5, 11, 12}));
}

TEST(Linker, OfTwoUsersOneLinks) {
  const TempFolder folder;
  const std::string control = folder.File("control.db");
  const std::string registry = folder.File("registry.db");
  const auto link = [&](const std::string& patient) {
    static std::unique_ptr<Linker> linker;
    if (!linker) {
      LinkRegistry::Connect(control, registry);
      linker = std::make_unique<Linker>();
    }
    try {
      const std::int32_t wanted = std::stoi(patient);
      wanted == 0 ? linker->LinkToNewPatient(5) : linker->LinkToPatient(5, wanted);
      return std::string("linked");
    } catch (const Error& error) {
      return std::to_string(error.number());
    }
  };
  OtherProcess one(link);
  OtherProcess two(link);
  MakeDatabase(control, ControlScript(SmallFields()));
  MakeDatabase(registry, LinkScript());
  for (int round = 0; round < 10; ++round) {
    auto other = std::async(std::launch::async, [&one] { return one.Run("10"); });
    const std::string mine = two.Run(round % 2 == 0 ? "9" : "0");
    EXPECT_EQ((std::multiset<std::string>{mine, other.get()}),
              (std::multiset<std::string>{"linked", "457"}));
    EXPECT_EQ(QueryText(registry,
                        "SELECT (SELECT count(*) FROM QMLinks), (SELECT count(*) FROM QMAudit),"
                        " (SELECT count(*) FROM MedicalSum WHERE MedRefID > 100)"),
              "1|1|1");
    SqliteFile(registry).Exec(
        "DELETE FROM QMLinks; DELETE FROM QMAudit; DELETE FROM MedicalSum WHERE MedRefID > 100;"
        "UPDATE Abstracts SET PatientID = NULL WHERE AbsRefID = 5");
  }
}

TEST(Linker, APowerCutLeavesAllOfALinkOrNothing) {
  const TempFolder folder;
  const std::string control = MakeDatabase(folder.File("control.db"), ControlScript(SmallFields()));
  const std::string made = MakeDatabase(folder.File("made.db"), LinkScript());
  const std::string before = AllRows(made);
  std::set<std::string> seen;
  constexpr int kStep = 9;
  int cuts = 0;
  for (bool killed = true; killed; ++cuts) {
    const std::string work = std::to_string(cuts);
    std::filesystem::create_directory(folder.path() / work);
    const std::string registry = folder.File(work + "/registry.db");
    std::filesystem::copy_file(made, registry);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      DieAtMoment(cuts * kStep);
      LinkRegistry::Connect(control, registry);
      Linker().LinkToNewPatient(12);
      _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    killed = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    ASSERT_TRUE(killed || (WIFEXITED(status) && WEXITSTATUS(status) == 0)) << cuts;
    // The parts of a link: two rows of a patient, two of a tumor, the abstract, the link, the log.
    const std::string parts =
        killed && QueryText(registry,
                            "SELECT count(*) FROM sqlite_master WHERE name = 'QMDecisions'") == "0"
            ? "0|0|0|0|0|0"
            : QueryText(registry,
                        "SELECT (SELECT count(*) FROM Patients WHERE PatientID > 10),"
                        " (SELECT count(*) FROM Patients_2 WHERE PatientID > 10),"
                        " (SELECT count(*) FROM MedicalSum_2 WHERE MedRefID > 100),"
                        " (SELECT count(*) FROM Abstracts WHERE PatientID = 11 AND MedRefID = 101),"
                        " (SELECT count(*) FROM QMLinks WHERE TumorDigest <> ''),"
                        " (SELECT count(*) FROM QMAudit)");
    EXPECT_TRUE(parts == "0|0|0|0|0|0" || parts == "1|1|1|1|1|1") << cuts << ": " << parts;
    seen.insert(parts);
    EXPECT_EQ(QueryText(registry, "PRAGMA integrity_check"), "ok");
    ASSERT_LT(cuts, 100);
  }
  EXPECT_GT(cuts, 5);
  EXPECT_EQ(seen.size(), 2U);
}

}  // namespace
}  // namespace qm::test

// Files of decisions: what they may look like, what they do, and what is linked by score alone.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <qm/review.h>

#include "review/link_registry.h"
#include "support/raises.h"

namespace qm::test {
namespace {

using testing::HasSubstr;

std::string Text(const std::vector<Decision>& decisions) {
  std::string text;
  for (const Decision& d : decisions) {
    text += std::to_string(d.line) + ":" + std::to_string(d.abstract_id) +
            std::string(d.verdict == Verdict::kLink      ? "="
                        : d.verdict == Verdict::kNew     ? "+"
                        : d.verdict == Verdict::kNoOffer ? "-"
                                                         : "!") +
            std::to_string(d.patient_id) + "[" + d.reviewer + "|" + d.note + "] ";
  }
  return text;
}

TEST(Decisions, AreReadAsSpreadsheetsWriteThem) {
  const std::pair<const char*, const char*> cases[] = {
      {"", ""},
      {"Abstract,PATIENT,reviewer,note\n5,10,JD,same\n", "2:5=10[JD|same] "},
      {"\xEF\xBB\xBF"
       "abstract,patient\r\n\r\n5,New\r\n ,, ,\r\n6,NO,,\r\n",
       "3:5+0[|] 5:6-0[|] "},
      {"5,no 1021\n5,no  7\n5,10", "1:5!1021[|] 2:5!7[|] 3:5=10[|] "},
      {"5,\"10\",\"J \"\"X\"\" D\",\"a,\nb\"\n6, 7 ,M\xC3\xBCller\n",
       "1:5=10[J \"X\" D|a,\nb] 3:6=7[M\xC3\xBCller|] "},
      {"5,10\n5,10\n5,no 11\n6,new\n6,no\n", "1:5=10[|] 2:5=10[|] 3:5!11[|] 4:6+0[|] 5:6-0[|] "}};
  for (const auto& [text, expected] : cases) EXPECT_EQ(Text(ReadDecisions(text, "d")), expected);
}

TEST(Decisions, AnErrorNamesTheLineAndNoValue) {
  const std::pair<const char*, const char*> cases[] = {
      {"5,10\nSmith,11\n", "d.csv, line 2: the abstract"},
      {"patient,abstract\n", "line 1: the abstract"},
      {"5,Smith\n", "line 1: the patient"},
      {"5\n", "line 1: the patient"},
      {"0,10\n", "line 1: the abstract"},
      {"5,99999999999\n", "line 1: the patient"},
      {"5,no x\n", "line 1: the patient"},
      {"5,10,a,b,Smith\n", "line 1: more than four"},
      {"\n5,\"10\n", "line 2: a quotation mark is not closed"},
      {"5,\"10\"Smith\n", "line 1: text behind"},
      {"5,10,O\"Smith\n", "line 1: a quotation mark within"},
      {"5,10\n6,7\n5,11\n", "line 3: abstract 5 is decided otherwise in line 1"},
      {"5,10\n5,new\n", "line 2: abstract 5"},
      {"5,no 10\n5,10\n", "line 2: abstract 5"},
      {"5,no\n5,10\n", "line 2: abstract 5"},
      {"5,10,\xE4\n", "is no text in UTF-8"}};
  for (const auto& [text, expected] : cases) {
    const std::string whole = text;
    const Failure failure = Raises([&] { ReadDecisions(whole, "d.csv"); });
    EXPECT_EQ(failure.number, kErrBadArgument) << whole;
    EXPECT_THAT(failure.description, HasSubstr(expected));
    EXPECT_EQ(failure.description.find("Smith"), std::string::npos);
  }
}

std::string Carry(LinkRegistry& small, const std::string& text) {
  std::string refused;
  const DecisionCounts counts =
      CarryOut(small.linker, ReadDecisions(text, "d"), "d", [&](const Decision& d, const Error& e) {
        refused += " " + std::to_string(d.line) + ":" + std::to_string(e.number());
      });
  return std::to_string(counts.linked) + "," + std::to_string(counts.new_patients) + "," +
         std::to_string(counts.declined) + "," + std::to_string(counts.skipped) + "," +
         std::to_string(counts.failed) + refused;
}

TEST(Decisions, AreCarriedOutOnce) {
  struct Case {
    const char* setup;
    const char* file;
    const char* first;  ///< linked, new, declined, skipped, failed, and the lines refused
    const char* again;
  };
  const Case cases[] = {
      {"", "5,10\n11,no 7\n12,new\n", "1,1,1,0,0", "0,0,0,3,0"},
      {"", "5,no\n11,no\n12,no\n", "0,0,3,1,0", "0,0,0,3,0"},
      {"", "5,new\n5,no\n", "0,1,2,0,0", "0,0,0,2,0"},
      {"", "5,no 10\n5,no 9\n5,no 9\n", "0,0,2,1,0", "0,0,0,3,0"},
      {"", "6,9\n4711,7\n5,4711\n11,no 4711\n11,7\n", "1,0,0,0,4 1:457 2:3021 3:3021 4:3021",
       "0,0,0,1,4 1:457 2:3021 3:3021 4:3021"},
      {"UPDATE Patients SET CaseLockedBy = 'you' WHERE PatientID = 10", "5,10\n11,7\n",
       "1,0,0,0,1 1:70", "0,0,0,1,1 1:70"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.file);
    LinkRegistry small;
    small.Change(c.setup);
    EXPECT_EQ(Carry(small, c.file), c.first);
    const std::string after = AllRows(small.registry);
    EXPECT_EQ(Carry(small, c.file), c.again);
    EXPECT_EQ(AllRows(small.registry), after);
  }
}

TEST(Decisions, WhatWasDeclinedIsNotOfferedAgain) {
  LinkRegistry small;
  const auto offers = [&] {
    std::string text;
    for (const OfferedMatch& offer : small.linker.Offers(5)) {
      text += std::to_string(offer.patient_id) + ":" + std::to_string(offer.score) + " ";
    }
    return text;
  };
  EXPECT_EQ(offers(), "10:100 9:60 ");
  EXPECT_EQ(Carry(small, "5,no 10,JD,other sex\n"), "0,0,1,0,0");
  EXPECT_EQ(offers(), "9:60 ");
  EXPECT_EQ(small.Query("SELECT Action, Detail, SourceFile FROM QMAudit"),
            "decline|patient 10, score 100, reviewer JD: other sex|d");
  // A decision on all offers is no decision on those that come later.
  EXPECT_EQ(Carry(small, "5,no\n"), "0,0,1,0,0");
  small.Change("INSERT INTO Patients (PatientID, LastName) VALUES (99, 'Li')");
  EXPECT_EQ(Carry(small, "5,no\n"), "0,0,0,1,0");
  EXPECT_EQ(offers(), "99:60 ");
  EXPECT_EQ(Carry(small, "5,no,JD,later ones too\n"), "0,0,1,0,0");
  EXPECT_EQ(offers(), "");
  // Linked against what was declined, it is declined no more.
  EXPECT_EQ(Carry(small, "5,10\n"), "1,0,0,0,0");
  small.linker.Unlink(5);
  EXPECT_EQ(offers(), "10:100 ");
}

TEST(LinkByScore, TakesTheOnlyOfferThatScoresEnough) {
  const auto run = [](LinkRegistry& small, std::int16_t least, bool dry_run) {
    std::string text;
    LinkByScore(small.linker, least, dry_run,
                [&](std::int32_t id, AutoOutcome outcome, std::span<const OfferedMatch> offers,
                    const Error* reason) {
                  text += std::to_string(id) + (outcome == AutoOutcome::kLinked ? "+" : "?") +
                          std::to_string(offers.size()) +
                          (reason == nullptr ? "" : "!" + std::to_string(reason->number())) + " ";
                });
    return text;
  };
  LinkRegistry small;
  const std::string before = AllRows(small.registry);
  EXPECT_EQ(run(small, 61, false), "5?2 11?1 12?0 ");
  EXPECT_EQ(run(small, 60, true), "5?2 11+1 12?0 ");
  EXPECT_EQ(AllRows(small.registry), before);
  small.Change("UPDATE Patients SET CaseLockedBy = 'you' WHERE PatientID = 7");
  EXPECT_EQ(run(small, 60, false), "5?2 11?1!70 12?0 ");
  small.Change("UPDATE Patients SET CaseLockedBy = NULL");
  EXPECT_EQ(run(small, 60, false), "5?2 11+1 12?0 ");
  small.linker.Decline(5, 9);
  EXPECT_EQ(run(small, 60, false), "5+1 12?0 ");
  EXPECT_EQ(run(small, 60, false), "12?0 ");
}

}  // namespace
}  // namespace qm::test

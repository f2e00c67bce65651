// The whole flow of a registry, from an empty folder to a consolidated file, as its script runs it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "support/run_program.h"

namespace qm::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;

TEST(Flow, FromAnEmptyFolderToAConsolidatedFile) {
  setenv("QM", QM_TOOL, 1);
  setenv("PATIENTS", "100", 1);
  setenv("INCOMING", "15", 1);
  const TempFolder folders[2];
  ProgramResult results[2];
  for (int i = 0; i < 2; ++i) {
    const std::string folder = folders[i].File("registry");
    results[i] = RunProgram({"/bin/bash", QM_FLOW, folder});
    ASSERT_EQ(results[i].exit_code, 0) << results[i].out << results[i].err;
    EXPECT_EQ(results[i].err, "");
  }
  EXPECT_EQ(results[0].out, results[1].out) << "the same on every run";
  EXPECT_THAT(results[0].out, ContainsRegex("linked [1-9][0-9]* abstracts, left [1-9]"));
  EXPECT_THAT(results[0].out, ContainsRegex("linked 0, new 0, declined 0, skipped [1-9][0-9]*, "
                                            "failed 0"));
  EXPECT_THAT(results[0].out, ContainsRegex("consolidated.txt: imported [1-9][0-9]*, rejected 0"));
  EXPECT_THAT(results[0].out, HasSubstr("locked by ann"));
}

}  // namespace
}  // namespace qm::test

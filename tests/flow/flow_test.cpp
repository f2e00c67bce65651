// The whole flow of a registry, from an empty folder to a consolidated file, as its script runs it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "support/run_program.h"
#include "support/servers.h"

namespace qm::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;

TEST(Flow, FromAnEmptyFolderToAConsolidatedFile) {
  setenv("QM", QM_TOOL, 1);
  setenv("PATIENTS", "100", 1);
  setenv("INCOMING", "15", 1);
  std::vector<ProgramResult> results;
  for (const char* engine : {"", "", "PostgreSQL", "MariaDB"}) {  // files, twice
    const ScratchDatabase database(*engine == '\0' ? "SQLite" : engine);
    if (!database.Missing().empty()) continue;
    for (const char* variable : {"QM_REGISTRY", "QM_CONTROL"}) {
      setenv(variable, *engine == '\0' ? "" : database.ConnectionString().c_str(), 1);
    }
    const TempFolder folder;
    results.push_back(RunProgram({"/bin/bash", QM_FLOW, folder.File("registry")}));
    ASSERT_EQ(results.back().exit_code, 0) << results.back().out << results.back().err;
    EXPECT_EQ(results.back().err, "");
    EXPECT_EQ(results.back().out, results[0].out) << "the same on every run and " << engine;
  }
  unsetenv("QM_REGISTRY");
  unsetenv("QM_CONTROL");
  EXPECT_THAT(results[0].out, ContainsRegex("linked [1-9][0-9]* abstracts, left [1-9]"));
  EXPECT_THAT(results[0].out, ContainsRegex("linked 0, new 0, declined 0, skipped [1-9][0-9]*, "
                                            "failed 0"));
  EXPECT_THAT(results[0].out, ContainsRegex("consolidated.txt: imported [1-9][0-9]*, rejected 0"));
  EXPECT_THAT(results[0].out, HasSubstr("locked by ann"));
}

}  // namespace
}  // namespace qm::test

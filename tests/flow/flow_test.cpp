// The whole flow of a registry, from an empty folder to a consolidated file, as its script runs it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <string_view>

#include "support/run_program.h"
#include "support/servers.h"

namespace qm::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;

// The flow on one engine; its databases are files when it is named so.
ProgramResult RunFlow(const std::string& engine) {
  const ScratchDatabase database(engine == "files" ? "SQLite" : engine);
  for (const char* variable : {"QM_REGISTRY", "QM_CONTROL"}) {
    setenv(variable, engine == "files" ? "" : database.ConnectionString().c_str(), 1);
  }
  const TempFolder folder;
  ProgramResult result = RunProgram({"/bin/bash", QM_FLOW, folder.File("registry")});
  unsetenv("QM_REGISTRY");
  unsetenv("QM_CONTROL");
  EXPECT_EQ(result.exit_code, 0) << result.out << result.err;
  EXPECT_EQ(result.err, "");
  return result;
}

class Flow : public testing::TestWithParam<const char*> {};

TEST_P(Flow, FromEmptyDatabasesToAConsolidatedFileAndTheSameAsOnFiles) {
  if (std::string_view(GetParam()) != "files") {
    const ScratchDatabase database(GetParam());
    if (!database.Missing().empty()) GTEST_SKIP() << database.Missing();
  }
  setenv("QM", QM_TOOL, 1);
  setenv("PATIENTS", "100", 1);
  setenv("INCOMING", "15", 1);
  const std::string on_files = RunFlow("files").out;
  EXPECT_EQ(RunFlow(GetParam()).out, on_files);
  EXPECT_THAT(on_files, ContainsRegex("linked [1-9][0-9]* abstracts, left [1-9]"));
  EXPECT_THAT(on_files, ContainsRegex("linked 0, new 0, declined 0, skipped [1-9][0-9]*, "
                                      "failed 0"));
  EXPECT_THAT(on_files, ContainsRegex("consolidated.txt: imported [1-9][0-9]*, rejected 0"));
  EXPECT_THAT(on_files, HasSubstr("locked by ann"));
}

INSTANTIATE_TEST_SUITE_P(On, Flow, testing::Values("files", "PostgreSQL", "MariaDB"));

}  // namespace
}  // namespace qm::test

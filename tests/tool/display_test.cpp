// qm display, on the display that a new registry has.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/run_program.h"
#include "support/temp_folder.h"

namespace qm::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

TEST(DisplayCommand, PrintsTheFieldsOrTheList) {
  const TempFolder folder;
  const std::string registry = folder.File("r");
  const auto display = [&](std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {QM_TOOL, "display", "-d", registry, "--format", "csv"});
    return RunProgram(arguments);
  };
  ASSERT_EQ(RunProgram({QM_TOOL, "init", "-d", registry, "--layout", "18"}).exit_code, 0);
  EXPECT_THAT(display({}).out, StartsWith("ID,Name\r\n1,Patient and tumor\r\n"));
  const ProgramResult fields = display({"1"});
  EXPECT_EQ(fields.exit_code, 0);
  EXPECT_THAT(fields.out,
              StartsWith("Display,Sequence,Item,Name,Description,Hidden,Protected,Default\r\n"
                         "Patient and tumor,1,2230,LastName,"));
  EXPECT_THAT(fields.out, HasSubstr(",7,2320,SocSec,"));
  for (const char* unknown : {"7", "0", "-1", "65537"}) {
    const ProgramResult missing = display({"--", unknown});
    EXPECT_EQ(missing.exit_code, 1);
    EXPECT_EQ(missing.out, "");
    EXPECT_THAT(missing.err, HasSubstr("display " + std::string(unknown) + " does not exist"));
  }
}

}  // namespace
}  // namespace qm::test

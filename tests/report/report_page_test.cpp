// The review page: what it holds and leaves out, what it does with hostile values and with files
// that are there; and a browser that reviews it, whose decisions `qm link` carries out.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "review/report_json.h"
#include "support/run_program.h"
#include "support/sqlite_fixture.h"

namespace qm::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

ProgramResult Qm(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), QM_TOOL);
  return RunProgram(arguments);
}

std::size_t Count(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

TEST(ReportJson, NoValueEndsItsScript) {
  const std::pair<std::string, std::string> cases[] = {
      {"O'Brien \"Bo\" \\", R"("O'Brien \u0022Bo\u0022 \u005c")"},
      {"</script><!-- &", R"("\u003c/script\u003e\u003c!-- \u0026")"},
      {"a\n\r\x01\x7f" + std::string(1, '\0'), R"("a\u000a\u000d\u0001\u007f\u0000")"},
      {"\xe2\x80\xa8\xe2\x80\xa9\xe2\x80\xa6", "\"\\u2028\\u2029\xe2\x80\xa6\""},
      {"caf\xc3\xa9", "\"caf\xc3\xa9\""},
      {"caf\xe9<", R"("caf\ufffd\u003c")"},
      {"\xe2\x80", R"("\ufffd\ufffd")"},
  };
  for (const auto& [value, expected] : cases) {
    std::string json;
    AppendJson(json, value);
    EXPECT_EQ(json, expected);
  }
}

constexpr const char* kHostile =
    "'</script><b>' || char(8232) || char(8238) || char(7) || '''\"&amp;'";
constexpr std::string_view kCutoff = "25";  // low enough for several candidates

class ReportPage : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    made_ = std::make_unique<TempFolder>();
    const std::string d = made_->File("made");
    for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
             {"init", "-d", d, "--layout", "18"},
             {"generate", "-d", d, "--patients", "400", "--incoming", "40", "--seed", "7"},
             {"import", "-d", d, d + "/incoming.txt"}}) {
      const ProgramResult result = Qm(command);
      ASSERT_EQ(result.exit_code, 0) << result.err;
    }
    // One sure pair more, of the same hostile name on both sides.
    SqliteFile(d + "/registry.db")
        .Exec(std::string("UPDATE Abstracts SET (LastName, FirstName, SocSec) = (") + kHostile +
              ", 'Al', '123450001') WHERE AbsRefID = 5; UPDATE Patients SET (LastName, FirstName,"
              " SocSec) = (" +
              kHostile + ", 'Al', '123450001') WHERE PatientID = 9;");
  }
  static void TearDownTestSuite() { made_.reset(); }

  ReportPage() : d_(folder_.File("d")), page_(folder_.File("d/page.html")) {
    fs::copy(made_->path() / "made", d_, fs::copy_options::recursive);
  }

  ProgramResult Report(std::vector<std::string> more = {}) const {
    more.insert(more.begin(), {"report", "-d", d_, "-o", page_, "--cutoff", std::string(kCutoff)});
    return Qm(more);
  }
  // Pairs and abstracts as the command tells them.
  static std::pair<int, int> Told(const ProgramResult& result) {
    std::pair<int, int> told;
    EXPECT_EQ(std::sscanf(result.out.c_str(), "reported %d pairs of %d abstracts", &told.first,
                          &told.second),
              2)
        << result.out << result.err;
    return told;
  }

  static inline std::unique_ptr<TempFolder> made_;
  TempFolder folder_;
  std::string d_;
  std::string page_;
};

TEST_F(ReportPage, IsPrivateWholeAndReplacedOnlyWhenAsked) {
  const auto [pairs, abstracts] = Told(Report());
  EXPECT_GT(pairs, abstracts);
  const auto mode = fs::status(page_).permissions() & fs::perms::all;
  EXPECT_EQ(mode, fs::perms::owner_read | fs::perms::owner_write);
  const std::string page = folder_.Read("d/page.html");
  EXPECT_EQ(Count(page, "</script"), 2U);
  EXPECT_EQ(Count(page, "\"patient\":"), static_cast<std::size_t>(pairs));
  EXPECT_EQ(Count(page, "{{"), 0U);
  EXPECT_EQ(Count(page, "://"), 1U) << "only the name of SVG";

  const ProgramResult again = Report();
  EXPECT_EQ(again.exit_code, 1);
  EXPECT_THAT(again.err, HasSubstr("error 58 (QMDataObjects2): File already exists: " + page_));
  EXPECT_EQ(folder_.Read("d/page.html"), page);

  const std::string id = page.substr(page.rfind("\"id\":\""), 70);
  EXPECT_EQ(Report({"--replace"}).exit_code, 0);
  EXPECT_THAT(folder_.Read("d/page.html"), HasSubstr(id)) << "the same pairs are the same report";

  page_ = "/nowhere/page.html";
  EXPECT_THAT(Report().err, HasSubstr("error 75 (QMDataObjects2): cannot write /nowhere/page"));
  // A failure half way leaves nothing behind.
  SqliteFile(d_ + "/registry.db")
      .Exec("UPDATE tblMatchingParameters SET FieldName = 'Nothing' WHERE MatchingID = 3");
  page_ = folder_.File("d/failed.html");
  EXPECT_THAT(Report().err, HasSubstr("reporting abstract 1, rule Nothing"));
  for (const auto& entry : fs::directory_iterator(d_)) {
    EXPECT_THAT(entry.path().filename().string(), testing::Not(testing::StartsWith("failed")));
  }
}

TEST_F(ReportPage, LeavesOutWhatIsLinkedOrDeclined) {
  const auto [pairs, abstracts] = Told(Report());
  const std::string decisions =
      folder_.Write("decisions.csv", "abstract,patient,reviewer,note\r\n5,9,Ng,\r\n");
  ASSERT_EQ(Qm({"link", "-d", d_, "--decisions", decisions}).exit_code, 0);
  const auto linked = Told(Report({"--replace"}));
  EXPECT_LT(linked.first, pairs);
  EXPECT_EQ(linked.second, abstracts - 1);

  const std::string page = folder_.Read("d/page.html");
  const auto number = [&page](std::string_view key) {
    return std::stoi(page.substr(page.find(key) + key.size(), 10));
  };
  folder_.Write("decisions.csv", std::to_string(number("{\"id\":")) + ",no " +
                                     std::to_string(number("{\"patient\":")) + ",Ng,\r\n");
  ASSERT_EQ(Qm({"link", "-d", d_, "--decisions", decisions}).exit_code, 0);
  EXPECT_EQ(Told(Report({"--replace"})).first, linked.first - 1);
}

TEST_F(ReportPage, IsReviewedInABrowserAndItsDecisionsAreCarriedOut) {
  const std::string browser = "/usr/bin/chromium";
  if (!fs::exists(browser) || !fs::exists("/usr/bin/env")) {
    ASSERT_EQ(std::getenv("CI"), nullptr) << "the browser is missing";
    GTEST_SKIP() << browser << " is not installed";
  }
  const auto before = Told(Report());
  const ProgramResult review =
      RunProgram({"/usr/bin/env", "PYTHONDONTWRITEBYTECODE=1", "python3",
                  QM_TEST_DATA "/review_in_browser.py", browser, page_, folder_.path().string()});
  ASSERT_EQ(review.exit_code, 0) << review.err;
  RecordProperty("load", review.out);
  std::cout << review.out;

  const ProgramResult linked =
      Qm({"link", "-d", d_, "--decisions", folder_.File("decisions.csv"), "--format", "csv"});
  EXPECT_EQ(linked.exit_code, 0) << linked.err;
  const std::string registry = d_ + "/registry.db";
  EXPECT_EQ(QueryText(registry, "SELECT count(*) FROM Abstracts WHERE PatientID > 0"), "2");
  EXPECT_EQ(QueryText(registry, "SELECT count(*) FROM Patients"), "401");
  const auto after = Told(Report({"--replace"}));
  EXPECT_EQ(after.second, before.second - 3) << "linked, new and wholly declined";
}

}  // namespace
}  // namespace qm::test

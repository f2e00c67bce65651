#include "comparison/comparison.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <qm/matcher.h>

#include "comparison/reference.h"
#include "support/raises.h"
#include "support/temp_folder.h"
#ifndef _WIN32
#include "support/run_program.h"
#endif

namespace qm::test {
namespace {

std::string Decimals(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6f", value);
  return text;
}

std::vector<std::vector<std::string>> Cells(const std::string& file, char separator) {
  std::ifstream in(file);
  EXPECT_TRUE(in) << file;
  std::vector<std::vector<std::string>> rows;
  for (std::string line; std::getline(in, line);) {
    std::vector<std::string> cells;
    std::istringstream stream(line);
    for (std::string cell; std::getline(stream, cell, separator);) cells.push_back(cell);
    rows.push_back(cells);
  }
  return rows;
}

std::string Utf8(const std::u32string& text) {
  std::string result;
  for (const char32_t c : text) {
    if (c >= 0x80) result += static_cast<char>(0xC0 | (c >> 6));
    result += static_cast<char>(c >= 0x80 ? 0x80 | (c & 0x3F) : c);
  }
  return result;
}

TEST(Comparison, PublishedPairs) {
  auto rows = Cells(QM_TEST_DATA "/string_pairs.tsv", '\t');
  rows.erase(rows.begin());
  ASSERT_GT(rows.size(), 20U);
  for (const auto& row : rows) {
    EXPECT_EQ(Decimals(CompareStrings(row[0], row[1], 1)), row[2]) << row[0];
    EXPECT_EQ(Decimals(CompareStrings(row[0], row[1], 0)), row[3]) << row[0];
    EXPECT_EQ(Decimals(CompareStrings(row[0], row[1], 2)), row[4]) << row[0];
  }
}

TEST(Comparison, EdgesOfTheComparators) {
  const std::string longer(100, 'A');
  for (const auto& [a, b, parameter, expected] :
       std::vector<std::tuple<std::string, std::string, int, std::string>>{
           {"", "", 0, "0.000000"},
           {"", "", 3, "0.000000"},
           {"A", "A", 0, "1.000000"},
           {"AB", "BA", 1, "0.000000"},                // a window of nothing
           {"SMITH", "SMYTH", 99, "0.893333"},         // as 0
           {"SMITH", "SMYTH", -1, "0.893333"},         // as 0
           {"123456789", "123456798", 3, "0.888889"},  // a swap is one step
           {"CA", "ABC", 3, "0.000000"},               // no stretch is edited twice
           {"19500102", "1950", 3, "0.500000"},
           {"1234X", "1234Y", 2, "0.866667"},  // digits end the prefix
           {"12345", "12354", 2, "0.933333"},  // and bar the long-string adjustment
           {"SMITH", "smith", 0, "0.000000"},
           {"MUÑOZ", "MUNOZ", 3, "0.800000"},  // characters, not bytes
           {"MUÑOZ", "MUOZ", 1, "0.933333"},
           {longer, longer + "B", 3, "0.990099"}}) {
    EXPECT_EQ(Decimals(CompareStrings(a, b, parameter)), expected) << a << " " << b << parameter;
  }
}

// The comparators and the code agree with their plain versions: on texts that are like each other
// and on the census's names.
TEST(Comparison, AgreesWithTheReference) {
  std::mt19937 random(20261121);
  const std::u32string alphabet = U"ABCEGHIKLMNORSUVWYZ0125 \u00D1\u00C9";
  const auto letter = [&] { return alphabet[random() % alphabet.size()]; };
  for (int round = 0; round < 4000; ++round) {
    std::u32string a(random() % (round % 50 == 0 ? 90 : 13), U' ');
    for (char32_t& c : a) c = letter();
    std::u32string b = a;
    for (auto edits = random() % 5; edits > 0; --edits) {
      const auto at = random() % (b.size() + 1);
      if (random() % 2 == 0 || at == b.size()) {
        b = b.substr(0, at) + letter() + b.substr(at);
      } else if (random() % 2 == 0) {
        b.erase(at, 1);
      } else {
        std::swap(b[at], b[random() % b.size()]);
      }
    }
    for (const int parameter : {0, 1, 2, 3}) {
      const double score = CompareStrings(Utf8(a), Utf8(b), parameter);
      EXPECT_NEAR(score, ReferenceCompare(a, b, parameter), 1e-12) << Utf8(a) << "|" << Utf8(b);
      EXPECT_TRUE(score >= 0 && score <= 1);
    }
  }
  const auto names = Cells(QM_NAMES "/census1990_common_surnames.csv", ',');
  ASSERT_GT(names.size(), 500U);
  for (std::size_t i = 1; i < names.size(); ++i) {
    const std::string& a = names[i][0];
    const std::string& b = names[1 + random() % (names.size() - 1)][0];
    EXPECT_EQ(SoundexCode(a), ReferenceSoundex(a)) << a;
    for (const int parameter : {0, 2}) {
      EXPECT_NEAR(CompareStrings(a, b, parameter),
                  ReferenceCompare({a.begin(), a.end()}, {b.begin(), b.end()}, parameter), 1e-12)
          << a << " " << b;
    }
  }
}

TEST(Soundex, PublishedNamesAndAccents) {
  for (const auto& row : Cells(QM_TEST_DATA "/soundex.tsv", '\t')) {
    EXPECT_EQ(SoundexCode(row[0]), row[1]) << row[0];
    EXPECT_EQ(PaddedSoundexCode(row[0]), row[1]) << row[0];
    EXPECT_EQ(ReferenceSoundex(row[0]), row[1]) << row[0];
  }
  for (const auto& [name, code] :
       std::vector<std::pair<std::string, std::string>>{{"MUÑOZ", "M520"},
                                                        {"muñoz", "M520"},
                                                        {"Żółć", "Z420"},
                                                        {"Großmann", "G625"},
                                                        {"Øster", "O236"},
                                                        {"Ærø", "A600"},
                                                        {"", ""},
                                                        {" '-12", ""},
                                                        {"×÷", ""},
                                                        {"\xC3", ""},
                                                        {"  Lee", "L000"},
                                                        {"李Lee", "L000"}}) {
    EXPECT_EQ(SoundexCode(name), code) << name;
  }
  EXPECT_EQ(PaddedSoundexCode(std::string(40, 'A') + "BC"), "A000");
}

// One library at a time serves the process: each test puts the built-in functions back.
class ComparisonLibraryTest : public testing::Test {
 protected:
  void TearDown() override { SetComparisonLibrary(""); }
};

TEST_F(ComparisonLibraryTest, ServesInPlaceOfTheBuiltInFunctions) {
  SetComparisonLibrary(QM_SAMPLE_LIBRARY);
  EXPECT_EQ(CompareStrings("A", "B", 42), 0.42);
  EXPECT_EQ(CompareStrings("MUÑOZ", "", 0), 0.5);  // one byte a character
  EXPECT_EQ(CompareStrings("€Œ李", "", 0), 0.3);
  EXPECT_EQ(SoundexCode("Lee"), "L003");
  EXPECT_EQ(SoundexCode("Ñu"), "Ñ002");
  EXPECT_EQ(SoundexCode("€"), "€001");
  EXPECT_EQ(PaddedSoundexCode("Ñu"), "Ñ040");
  SetComparisonLibrary("");
  EXPECT_EQ(CompareStrings("A", "B", 42), 0);
}

TEST_F(ComparisonLibraryTest, APathThatGivesNoLibraryIsNamed) {
  TempFolder folder;
  for (const auto& [path, number] :
       std::vector<std::pair<std::string, int>>{{folder.File("none.so"), 53},
                                                {folder.Write("text.so", "no library"), 48},
                                                {QM_PARTIAL_LIBRARY, 453}}) {
    SetComparisonLibrary(path);
    for (int use = 0; use < 2; ++use) {
      const Failure failure = Raises([] { CompareStrings("A", "A", 0); });
      EXPECT_EQ(failure.number, number);
      EXPECT_NE(failure.description.find(path), std::string::npos) << failure.description;
    }
  }
}

#ifndef _WIN32
TEST_F(ComparisonLibraryTest, IsFoundBesideTheComponent) {
  TempFolder folder;
  std::filesystem::copy(QM_TOOL, folder.path() / "qm");
  const std::vector<std::string> compare = {folder.File("qm"), "compare", "A", "B",
                                            "--parameter",     "42"};
  EXPECT_EQ(RunProgram(compare).out, "0.000000\n");
  std::filesystem::copy(QM_SAMPLE_LIBRARY, folder.path() / "libtwinseek.so");
  EXPECT_EQ(RunProgram(compare).out, "0.420000\n");
}
#endif

}  // namespace
}  // namespace qm::test

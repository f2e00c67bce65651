// The quick ways of comparing against the plain one, which is proved by itself elsewhere: bit for
// bit, on texts of every kind that they tell apart.
#include <gtest/gtest.h>
#include <qm/conversions.h>

#include <cmath>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "comparison/name_dictionary.h"
#include "comparison/prepared_comparator.h"
#include "comparison/short_text.h"
#include "comparison/string_comparator.h"

namespace qm::test {
namespace {

class Texts {
 public:
  Texts() {
    std::ifstream in(QM_NAMES "/census1990_common_surnames.csv");
    for (std::string line; std::getline(in, line);) {
      names_.push_back(line.substr(0, line.find(',')));
    }
    EXPECT_GT(names_.size(), 500U);
  }

  const std::vector<std::string>& names() const { return names_; }
  unsigned Below(std::size_t limit) { return static_cast<unsigned>(random_() % limit); }

  /// A name, a number, a mixture or no ASCII text, up to a little longer than 24 characters.
  std::string Any() {
    static const std::vector<std::string> letters = {
        "A", "B", "C", "E", "I",    "O",
        "-", "'", " ",                                      // names, of few letters
        "0", "1", "2", "5", "/",    "8",                    // numbers
        "Z", "9", "a", "Ñ", "\xC3", std::string(1, '\0')};  // and what is neither
    if (Below(4) == 0) return names_[Below(names_.size())];
    const unsigned kind = Below(8);
    const std::size_t from = kind < 3 ? 9 : 0;
    const std::size_t to = kind < 3 ? 15 : kind < 7 ? 9 : letters.size();
    std::string text;
    for (unsigned n = Below(Below(2) == 0 ? 10 : 27); n > 0; --n) {
      text += letters[from + Below(to - from)];
    }
    return text;
  }

  /// The text after a few slips of the pen.
  std::string Miswritten(std::string text) {
    for (unsigned slips = Below(4); slips > 0 && !text.empty(); --slips) {
      const std::size_t at = Below(text.size());
      if (Below(2) == 0) {
        std::swap(text[at], text[Below(text.size())]);
      } else {
        text.insert(at, 1, text[Below(text.size())]);
      }
    }
    return text;
  }

 private:
  std::mt19937 random_{20261121};
  std::vector<std::string> names_;
};

template <std::size_t kSize>
void ExpectSameRows(const std::string& a, const std::string& b) {
  ShortText left;
  ShortText right;
  if (a.size() > kSize || b.size() > kSize || !left.Assign(a, ShortText::kLeft) ||
      !right.Assign(b, ShortText::kRight)) {
    return;
  }
  AgreementRows<kSize> rows{};
  for (std::size_t j = 0; j < b.size(); ++j) {
    for (std::size_t i = 0; i < a.size(); ++i) rows[j] |= (a[i] == b[j] ? 1U : 0U) << i;
  }
  EXPECT_EQ(FastRows<kSize>(left, right), rows) << a << "|" << b;
  EXPECT_EQ(PortableRows<kSize>(left, right), rows) << a << "|" << b;
}

TEST(QuickComparison, OfTwoTextsGivesThePlainScore) {
  Texts texts;
  for (int round = 0; round < 30000; ++round) {
    const std::string a = texts.Any();
    const std::string b = texts.Below(2) == 0 ? texts.Miswritten(a) : texts.Any();
    for (const int parameter : {0, 1, 2, 3, 99}) {
      const double score = PlainCompare(a, b, parameter);
      ASSERT_EQ(BuiltInCompare(a, b, parameter), score) << a << "|" << b << " " << parameter;
      const PreparedComparator prepared(a, parameter);
      ASSERT_EQ(prepared.Compare(b), score) << a << "|" << b;
      ASSERT_EQ(prepared.Percent(b), RoundHalfEven(score * 100)) << a << "|" << b;
    }
    ExpectSameRows<8>(a, b);
    ExpectSameRows<16>(a, b);
    ExpectSameRows<24>(a, b);
  }
}

// Names and others; texts of all lengths are compared with all of them.
TEST(NameDictionary, GivesThePlainScoresOnEveryProcessor) {
  Texts texts;
  std::vector<std::string> held = texts.names();
  for (int n = 0; n < 500; ++n) held.push_back(texts.Any());
  std::vector<std::string> asked = {
      "",      "A",        "ABCABCAB", "ABCABCABC", std::string(24, 'A'), std::string(25, 'A'),
      "MUÑOZ", "19500102", "123456789"};
  for (int n = 0; n < 30; ++n) asked.push_back(texts.Any());
  for (int n = 0; n < 30; ++n) asked.push_back(texts.Miswritten(held[texts.Below(held.size())]));

  std::vector<NameDictionary> dictionaries;
  for (const DictionaryKernel& kernel : DictionaryKernels()) dictionaries.emplace_back(kernel);
  std::vector<std::uint32_t> numbers;
  for (const std::string& name : held) {
    for (NameDictionary& dictionary : dictionaries) {
      const std::uint32_t number = dictionary.Add(name);
      if (&dictionary == &dictionaries[0]) numbers.push_back(number);
      EXPECT_EQ(number, numbers.back());
    }
  }
  for (const int parameter : {0, 1, 2, 3}) {
    for (const std::string& text : asked) {
      const PreparedComparator prepared(text, parameter);
      std::vector<double> expected;
      for (const std::string& name : held) {
        expected.push_back(PlainCompare(text, name, parameter));
      }
      for (std::size_t d = 0; d < dictionaries.size(); ++d) {
        std::vector<double> scores(dictionaries[d].Limit());
        std::vector<std::uint8_t> percents(dictionaries[d].Limit());
        dictionaries[d].Scores(prepared, scores);
        dictionaries[d].Percents(prepared, percents);
        for (std::size_t n = 0; n < held.size(); ++n) {
          ASSERT_EQ(scores[numbers[n]], expected[n])
              << DictionaryKernels()[d].name << " " << parameter << " " << text << "|" << held[n];
          ASSERT_EQ(percents[numbers[n]], std::nearbyint(expected[n] * 100)) << text << held[n];
        }
      }
    }
  }
}

TEST(NameDictionary, ANameKeepsItsNumber) {
  Texts texts;
  NameDictionary dictionary;
  std::vector<std::string> held = {"",
                                   "SMITH",
                                   "SMYTH",
                                   "12345",
                                   "MUÑOZ",
                                   "APT 4",
                                   "O'BRIEN",
                                   std::string(24, 'X'),
                                   std::string(25, 'X'),
                                   std::string(5, '\0'),
                                   "-",
                                   "smith"};
  std::vector<std::uint32_t> numbers;
  for (const std::string& name : held) {
    EXPECT_FALSE(dictionary.Find(name)) << name;
    numbers.push_back(dictionary.Add(name));
  }
  for (int n = 0; n < 3000; ++n) dictionary.Add(texts.Any());
  const std::size_t size = dictionary.size();
  for (std::size_t n = 0; n < held.size(); ++n) {
    EXPECT_EQ(dictionary.Add(held[n]), numbers[n]) << held[n];
    EXPECT_EQ(dictionary.Find(held[n]), numbers[n]) << held[n];
    EXPECT_EQ(dictionary.Name(numbers[n]), held[n]);
    EXPECT_LT(numbers[n], dictionary.Limit());
  }
  EXPECT_EQ(dictionary.size(), size);
}

}  // namespace
}  // namespace qm::test

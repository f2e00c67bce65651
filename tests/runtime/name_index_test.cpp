#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "runtime/name_index.h"
#include "runtime/text.h"

namespace qm::test {
namespace {

bool Same(const std::string& a, const std::string& b, NameIndex::Letters letters) {
  return EqualsIgnoreCase(a, b) ||
         (letters == NameIndex::Letters::kLatin && UpperCase(a) == UpperCase(b));
}

// Against a scan from the first name on, with few letters, so that many names are alike.
TEST(NameIndex, FindsWhatAScanFinds) {
  const std::string pieces[] = {"a",
                                "A",
                                "b",
                                "B",
                                "_",
                                "7",
                                "\xC3\xA9",
                                "\xC3\x89",
                                "\xC5\xA0",
                                "\xC5\xA1",
                                "@",
                                "`",
                                "LongerThanAWord",
                                "longerTHANaword"};
  std::mt19937 random(5);
  const auto name = [&] {
    std::string text;
    for (unsigned count = random() % 5; count > 0; --count) text += pieces[random() % 14];
    return text;
  };
  for (const auto letters : {NameIndex::Letters::kAscii, NameIndex::Letters::kLatin}) {
    for (const std::size_t count : {0, 1, 9, 300}) {
      NameIndex index(letters);
      EXPECT_EQ(index.Find("a"), -1);
      if (count != 9) index.Clear(count);  // else it makes room as it goes
      std::vector<std::string> names;
      for (std::size_t i = 0; i < count; ++i) {
        index.Add(names.emplace_back(name()), static_cast<int>(i));
      }
      for (int i = 0; i < 2000; ++i) {
        const std::string wanted = name();
        int found = 0;
        while (found < static_cast<int>(names.size()) &&
               !Same(names[static_cast<std::size_t>(found)], wanted, letters)) {
          ++found;
        }
        EXPECT_EQ(index.Find(wanted), found == static_cast<int>(names.size()) ? -1 : found)
            << wanted;
      }
    }
  }
}

}  // namespace
}  // namespace qm::test

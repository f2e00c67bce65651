#include "layout/field_format.h"

#include <gtest/gtest.h>
#include <qm/hooks.h>

#include "layout/table_code.h"

namespace qm::test {
namespace {

TEST(FieldFormat, PadValue) {
  struct Case {
    const char* value;
    const char* mode;
    std::int16_t length;
    const char* expected;
  };
  for (const Case& c :
       {Case{" 12 ", "Y", 5, "00012"}, Case{" 12 ", "Z", 5, "12000"}, Case{" 12 ", "R", 5, "   12"},
        Case{" 12 ", "L", 5, "12"}, Case{" 12 ", "y", 5, "12"}, Case{"123456", "Y", 5, "123456"},
        Case{"", "Y", 3, "000"}, Case{"Muñoz", "R", 6, " Muñoz"}, Case{"\t1", "Y", 4, "00\t1"},
        Case{"1", "Y", -1, "1"}}) {
    EXPECT_EQ(PadValue(c.value, c.mode, c.length), c.expected) << c.value << c.mode;
  }
}

TEST(FieldFormat, Dates) {
  struct Case {
    const char* mode;
    const char* value;
    const char* expected;
  };
  const Case cases[] = {{"D", " 20010203 ", "02/03/2001"},
                        {"D", "", ""},
                        {"D", "0", "00/00/0000"},
                        {"D", "88888888", "88/88/8888"},
                        {"D", "99999999", "99/99/9999"},
                        {"D", "20019999", "99/99/2001"},
                        {"D", "20010299", "02/99/2001"},
                        {"D", "20040229", "02/29/2004"},
                        {"D", "19000229", "02/29/1900"},
                        {"D", "20010229", "20010229"},
                        {"D", "20010431", "20010431"},
                        {"D", "20011301", "20011301"},
                        {"D", "20010200", "20010200"},
                        {"D", "00000000", "00000000"},
                        {"D", "00/00/00", "00/00/00"},
                        {"D", "02/03/2001", "02/03/2001"},
                        {"D", "2001", "2001"},
                        {"D", "2001020a", "2001020a"},
                        {"M", "2/3/2001", "20010203"},
                        {"M", "02/03/2001", "20010203"},
                        {"M", "99/99/2001", "20019999"},
                        {"M", "00/00/0000", "00000000"},
                        {"M", "88/88/8888", "88888888"},
                        {"M", "99/99/9999", "99999999"},
                        {"M", "20010203", "20010203"},
                        {"M", "", ""},
                        {"M", "2/29/2001", "H"},
                        {"M", "13/01/2001", "H"},
                        {"M", "1/0/2001", "H"},
                        {"M", "1/2/201", "H"},
                        {"M", "001/2/2001", "H"},
                        {"M", "1-2-2001", "H"},
                        {"M", "/2/2001", "H"},
                        {"F", "02/03/2001", "02032001"},
                        {"F", "20010203", "02032001"},
                        {"F", "2/3/2001", "2/3/2001"},
                        {"F", "", ""},
                        {"?", "20010203", "20010203"}};
  int boxes = 0;
  const auto former = SetMessagePresenter([&](const Message& message) {
    ++boxes;
    EXPECT_EQ(message.text, "You must enter the full 4 digits for the year");
    EXPECT_EQ(message.title, "Tessaly : Visual.Bas");
    return MessageAnswer::kOk;
  });
  for (const Case& c : cases)
    EXPECT_EQ(FormatDate(c.value, c.mode), c.expected) << c.mode << c.value;
  EXPECT_EQ(boxes, 0);
  EXPECT_EQ(FormatDate("2/3/01", "M"), "H");
  EXPECT_EQ(boxes, 1);
  SetMessagePresenter(former);
}

TEST(FieldFormat, DatePattern) {
  for (const auto& [value, expected] :
       std::initializer_list<std::pair<const char*, const char*>>{{"", ""},
                                                                  {"02032001", "02/03/2001"},
                                                                  {"0", "00/00/0000"},
                                                                  {"115", "00/00/0115"},
                                                                  {"20010203", "20/01/0203"},
                                                                  {"123456789", "123/45/6789"},
                                                                  {"1.6", "00/00/0002"},
                                                                  {"-5", "-00/00/0005"},
                                                                  {"MAY 2001", "MAY 2001"},
                                                                  {"02/03/2001", "02/03/2001"}}) {
    EXPECT_EQ(ApplyDatePattern(value), expected) << value;
  }
}

TEST(FieldFormat, TableCodes) {
  for (const auto& [code, table, import] :
       std::initializer_list<std::tuple<std::int16_t, int, int>>{{0, 0, 0},
                                                                 {1, 1, 1},
                                                                 {2, 2, 2},
                                                                 {3, 3, 0},
                                                                 {4, 3, 3},
                                                                 {5, 5, 0},
                                                                 {8, 4, 0},
                                                                 {-1, -1, 0}}) {
    EXPECT_EQ(TableOfCode(code), table) << code;
    EXPECT_EQ(AbstractTableOfCode(code), import) << code;
  }
}

}  // namespace
}  // namespace qm::test

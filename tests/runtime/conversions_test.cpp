// What the expression cases do not reach: numbers of engines, the plain entry points, text helpers.
#include <qm/conversions.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include <qm/error.h>
#include "runtime/number_text.h"
#include "runtime/text.h"

namespace qm {
namespace {

template <typename Convert>
int ErrorOf(Convert convert) {
  try {
    static_cast<void>(convert());
  } catch (const Error& error) {
    return error.number();
  }
  return 0;
}

TEST(Conversions, NumbersOfAnEngineNarrowOrOverflow) {
  const Variant large(std::int64_t{3000000000});
  EXPECT_EQ(ToText(large), "3000000000");
  EXPECT_EQ(ToDouble(large), 3e9);
  EXPECT_TRUE(ToBool(large));
  EXPECT_EQ(ErrorOf([&] { return ToInt32(large); }), kErrOverflow);
  EXPECT_EQ(ToInt32(Variant(std::int64_t{-2147483648})), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(ErrorOf([] { return ToInt16(Variant(1e300)); }), kErrOverflow);
  EXPECT_EQ(ErrorOf([] { return NarrowInt32(std::nan("")); }), kErrOverflow);
  EXPECT_EQ(ErrorOf([] { return NarrowInt16(32768); }), kErrOverflow);
  EXPECT_EQ(NarrowInt16(-32768), -32768);
}

TEST(Conversions, NullArraysAndNothingAreRefusedByTheirOwnNumbers) {
  const Variant array(Variant::Array{Variant(1)});
  EXPECT_EQ(ErrorOf([] { return ToText(Variant::Null()); }), kErrInvalidUseOfNull);
  EXPECT_EQ(ErrorOf([] { return ToInt16(Variant::Null()); }), kErrInvalidUseOfNull);
  EXPECT_EQ(ErrorOf([&] { return ToText(array); }), kErrTypeMismatch);
  EXPECT_EQ(ErrorOf([&] { return ToCurrency(array); }), kErrTypeMismatch);
  EXPECT_EQ(ErrorOf([] { return ToText(Variant::Nothing()); }), kErrObjectNotSet);
  EXPECT_EQ(ToTextOrEmpty(Variant::Null()), "");
  EXPECT_EQ(ToTextOrEmpty(Variant(1.5)), "1.5");
}

TEST(Conversions, NumbersAreReadFromText) {
  const struct {
    const char* text;
    double value;  // NaN: no number
  } cases[] = {
      {"0012", 12},
      {"\t1 ", 1},
      {"1,234,567.5", 1234567.5},
      {"-$5", -5},
      {"$-5", -5},
      {"5 -", -5},
      {"(1.5)", -1.5},
      {"$(2)", -2},
      {"1D+2", 100},
      {"1e-2", 0.01},
      {"&o17", 15},
      {"1e-999", 0},
      {"", NAN},
      {" ", NAN},
      {"-", NAN},
      {"$", NAN},
      {"1e+", NAN},
      {"1-2", NAN},
      {"&H", NAN},
      {"&O8", NAN},
      {"1.,5", NAN},
      {"nan", NAN},
      {"inf", NAN},
      {"0x10", NAN},
      {"1e999", NAN},
      {"(-1)", NAN},
      {"1)", NAN},
      {"+5+", NAN},
      {"\xC2\xA0"
       "5",
       NAN},
      {"&HFFFFFFFFFFFFFFFFF", NAN},
  };
  for (const auto& [text, value] : cases) {
    const auto number = ParseNumber(text);
    EXPECT_EQ(number.has_value(), !std::isnan(value)) << text;
    if (number && !std::isnan(value)) {
      EXPECT_EQ(*number, value) << text;
    }
  }
  EXPECT_EQ(ParseNumber("0." + std::string(400, '0') + "1"), 0.0);
  EXPECT_EQ(ParseNumber(std::string(400, '9')), std::nullopt);
}

TEST(Conversions, RealsKeepTheirSignificantDigits) {
  const struct {
    double value;
    int digits;
    const char* text;
  } cases[] = {
      {0.1, 15, "0.1"},
      {999999999999999.9, 15, "1E+15"},
      {99999999999999.94, 15, "99999999999999.9"},
      {0.00009999999999999999, 15, "0.0001"},
      {0.00001234, 15, "1.234E-05"},
      {0.05, 15, "0.05"},
      {1.0 / 12, 15, "8.33333333333333E-02"},
      {-120000, 15, "-120000"},
      {1e100, 15, "1E+100"},
      {9999999.5, 7, "1E+07"},
      {16777216, 7, "1.677722E+07"},
      {1.401298464324817e-45, 7, "1.401298E-45"},
  };
  for (const auto& [value, digits, text] : cases) EXPECT_EQ(RealText(value, digits), text);
  EXPECT_EQ(ScaledText(-1), "-0.0001");
  EXPECT_EQ(ScaledText(120000), "12");
  EXPECT_EQ(ScaledText(std::numeric_limits<std::int64_t>::min()), "-922337203685477.5808");
}

// The text of a double is the shortest of at most 15 digits, so it reads back to within half a unit
// of the fifteenth.
TEST(Conversions, TextOfRandomNumbersReadsBack) {
  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> mantissa(-10, 10);
  std::uniform_int_distribution<int> exponent(-40, 40);
  for (int i = 0; i < 2000; ++i) {
    const double value = mantissa(random) * std::pow(10.0, exponent(random));
    const auto back = ParseNumber(RealText(value, 15));
    ASSERT_TRUE(back.has_value()) << value;
    EXPECT_NEAR(*back, value, std::abs(value) * 5.1e-15);
  }
}

TEST(Conversions, HalvesRoundToTheEvenNeighbour) {
  const struct {
    double value;
    double rounded;
  } cases[] = {{0.5, 0}, {1.5, 2}, {-0.5, 0}, {-2.5, -2}, {2.5000001, 3}, {8.8, 9}, {1e17, 1e17}};
  for (const auto& [value, rounded] : cases) EXPECT_EQ(RoundHalfEven(value), rounded) << value;
}

TEST(Text, CharactersAreCodePoints) {
  const std::string text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z";  // 1, 2, 3, 4 and 1 bytes
  EXPECT_EQ(CharacterCount(text), 5U);
  EXPECT_EQ(CharacterSlice(text, 1, 2), "\xC3\xA9\xE2\x82\xAC");
  EXPECT_EQ(CharacterSlice(text, 4, 9), "z");
  EXPECT_EQ(CharacterSlice(text, 5, 1), "");
  EXPECT_EQ(CharacterSlice("abc", 9, 1), "");
  EXPECT_TRUE(IsValidUtf8(text));
  for (const char* bad : {"\x80", "\xC3", "\xC0\x80", "\xE0\x80\x80", "\xED\xA0\x80",
                          "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "a\xFF"}) {
    EXPECT_FALSE(IsValidUtf8(bad));
  }
}

TEST(Text, CaseOfLatinLettersLeavesSignsAlone) {
  EXPECT_EQ(UpperCase("a\u00F1\u00F7\u00DF\u00FFz"), "A\u00D1\u00F7\u00DF\u0178Z");
  EXPECT_EQ(LowerCase("A\u00D1\u00D7\u00DEZ"), "a\u00F1\u00D7\u00FEz");
  EXPECT_TRUE(EqualsIgnoreCase("AbsRefID", "ABSREFid"));
  EXPECT_FALSE(EqualsIgnoreCase("a", "ab"));
  EXPECT_EQ(Trim("  a b "), "a b");
  EXPECT_EQ(Trim("\t "), "\t");
}

}  // namespace
}  // namespace qm

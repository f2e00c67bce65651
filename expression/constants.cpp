#include "expression/constants.h"

#include <array>
#include <cstdint>

#include <qm/error.h>
#include "runtime/text.h"

namespace qm {

namespace {

struct TextConstant {
  std::string_view name;
  std::string_view value;
};

constexpr std::array<TextConstant, 9> kTexts = {{
    {"vbCr", "\r"},
    {"vbLf", "\n"},
    {"vbCrLf", "\r\n"},
    {"vbNewLine", "\r\n"},
    {"vbTab", "\t"},
    {"vbVerticalTab", "\v"},
    {"vbFormFeed", "\f"},
    {"vbNullChar", std::string_view("\0", 1)},
    {"vbNullString", ""},
}};

struct NumberConstant {
  std::string_view name;
  std::int16_t value;
};

constexpr std::array<NumberConstant, 39> kNumbers = {{
    {"vbTrue", -1},
    {"vbFalse", 0},
    {"vbUseDefault", -2},
    {"vbBinaryCompare", 0},
    {"vbTextCompare", 1},
    {"vbDatabaseCompare", 2},
    {"vbEmpty", 0},
    {"vbNull", 1},
    {"vbInteger", 2},
    {"vbLong", 3},
    {"vbSingle", 4},
    {"vbDouble", 5},
    {"vbCurrency", 6},
    {"vbDate", 7},
    {"vbString", 8},
    {"vbObject", 9},
    {"vbError", 10},
    {"vbBoolean", 11},
    {"vbVariant", 12},
    {"vbDataObject", 13},
    {"vbDecimal", 14},
    {"vbByte", 17},
    {"vbArray", 8192},
    {"vbSunday", 1},
    {"vbMonday", 2},
    {"vbTuesday", 3},
    {"vbWednesday", 4},
    {"vbThursday", 5},
    {"vbFriday", 6},
    {"vbSaturday", 7},
    {"vbUseSystemDayOfWeek", 0},
    {"vbFirstJan1", 1},
    {"vbFirstFourDays", 2},
    {"vbFirstFullWeek", 3},
    {"vbGeneralDate", 0},
    {"vbLongDate", 1},
    {"vbShortDate", 2},
    {"vbLongTime", 3},
    {"vbShortTime", 4},
}};

}  // namespace

std::optional<Variant> FindConstant(std::string_view name) {
  if (name.size() < 2 || !EqualsIgnoreCase(name.substr(0, 2), "vb")) return std::nullopt;
  for (const TextConstant& constant : kTexts) {
    if (EqualsIgnoreCase(name, constant.name)) return Variant(constant.value);
  }
  for (const NumberConstant& constant : kNumbers) {
    if (EqualsIgnoreCase(name, constant.name)) return Variant(constant.value);
  }
  if (EqualsIgnoreCase(name, "vbObjectError")) return Variant(kObjectErrorBase);
  return std::nullopt;
}

}  // namespace qm

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

constexpr std::array kNumbers = {
    NumberConstant{"vbTrue", -1},
    NumberConstant{"vbFalse", 0},
    NumberConstant{"vbUseDefault", -2},
    NumberConstant{"vbBinaryCompare", 0},
    NumberConstant{"vbTextCompare", 1},
    NumberConstant{"vbDatabaseCompare", 2},
    NumberConstant{"vbEmpty", 0},
    NumberConstant{"vbNull", 1},
    NumberConstant{"vbInteger", 2},
    NumberConstant{"vbLong", 3},
    NumberConstant{"vbSingle", 4},
    NumberConstant{"vbDouble", 5},
    NumberConstant{"vbCurrency", 6},
    NumberConstant{"vbDate", 7},
    NumberConstant{"vbString", 8},
    NumberConstant{"vbObject", 9},
    NumberConstant{"vbError", 10},
    NumberConstant{"vbBoolean", 11},
    NumberConstant{"vbVariant", 12},
    NumberConstant{"vbDataObject", 13},
    NumberConstant{"vbDecimal", 14},
    NumberConstant{"vbByte", 17},
    NumberConstant{"vbArray", 8192},
    NumberConstant{"vbSunday", 1},
    NumberConstant{"vbMonday", 2},
    NumberConstant{"vbTuesday", 3},
    NumberConstant{"vbWednesday", 4},
    NumberConstant{"vbThursday", 5},
    NumberConstant{"vbFriday", 6},
    NumberConstant{"vbSaturday", 7},
    NumberConstant{"vbUseSystemDayOfWeek", 0},
    NumberConstant{"vbFirstJan1", 1},
    NumberConstant{"vbFirstFourDays", 2},
    NumberConstant{"vbFirstFullWeek", 3},
    NumberConstant{"vbGeneralDate", 0},
    NumberConstant{"vbLongDate", 1},
    NumberConstant{"vbShortDate", 2},
    NumberConstant{"vbLongTime", 3},
    NumberConstant{"vbShortTime", 4},
    NumberConstant{"vbUseSystem", 0},
    NumberConstant{"vbOKOnly", 0},
    NumberConstant{"vbOKCancel", 1},
    NumberConstant{"vbAbortRetryIgnore", 2},
    NumberConstant{"vbYesNoCancel", 3},
    NumberConstant{"vbYesNo", 4},
    NumberConstant{"vbRetryCancel", 5},
    NumberConstant{"vbCritical", 16},
    NumberConstant{"vbQuestion", 32},
    NumberConstant{"vbExclamation", 48},
    NumberConstant{"vbInformation", 64},
    NumberConstant{"vbDefaultButton1", 0},
    NumberConstant{"vbDefaultButton2", 256},
    NumberConstant{"vbDefaultButton3", 512},
    NumberConstant{"vbDefaultButton4", 768},
    NumberConstant{"vbApplicationModal", 0},
    NumberConstant{"vbSystemModal", 4096},
    NumberConstant{"vbOK", 1},
    NumberConstant{"vbCancel", 2},
    NumberConstant{"vbAbort", 3},
    NumberConstant{"vbRetry", 4},
    NumberConstant{"vbIgnore", 5},
    NumberConstant{"vbYes", 6},
    NumberConstant{"vbNo", 7},
};

struct LongConstant {
  std::string_view name;
  std::int32_t value;
};

constexpr std::array kLongs = {
    LongConstant{"vbObjectError", kObjectErrorBase},
    LongConstant{"vbBlack", 0x000000},
    LongConstant{"vbRed", 0x0000FF},
    LongConstant{"vbGreen", 0x00FF00},
    LongConstant{"vbYellow", 0x00FFFF},
    LongConstant{"vbBlue", 0xFF0000},
    LongConstant{"vbMagenta", 0xFF00FF},
    LongConstant{"vbCyan", 0xFFFF00},
    LongConstant{"vbWhite", 0xFFFFFF},
    LongConstant{"vbMsgBoxHelpButton", 16384},
    LongConstant{"vbMsgBoxSetForeground", 65536},
    LongConstant{"vbMsgBoxRight", 524288},
    LongConstant{"vbMsgBoxRtlReading", 1048576},
};

}  // namespace

std::optional<Variant> FindConstant(std::string_view name) {
  if (name.size() < 2 || !EqualsIgnoreCase(name.substr(0, 2), "vb")) return std::nullopt;
  for (const TextConstant& constant : kTexts) {
    if (EqualsIgnoreCase(name, constant.name)) return Variant(constant.value);
  }
  for (const NumberConstant& constant : kNumbers) {
    if (EqualsIgnoreCase(name, constant.name)) return Variant(constant.value);
  }
  for (const LongConstant& constant : kLongs) {
    if (EqualsIgnoreCase(name, constant.name)) return Variant(constant.value);
  }
  return std::nullopt;
}

}  // namespace qm

// Characters and their codes: Asc and Chr in Windows-1252, AscW and ChrW in 16-bit units.
#include <algorithm>
#include <array>

#include <qm/conversions.h>
#include <qm/error.h>
#include "expression/functions.h"
#include "expression/utf16.h"

namespace qm {

namespace {

// Windows-1252 differs from the first code points only here; 0 where the code page has no
// character and the control character of that number stands.
constexpr std::uint32_t kFirstSpecial = 0x80;
constexpr std::array<std::uint32_t, 32> kSpecials = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

std::string Encode(std::uint32_t code) {
  std::string text;
  AppendCode(text, code);
  return text;
}

// The code point of the first character; 5 for an empty text.
std::uint32_t FirstCode(const Variant& value) {
  const std::string text = ToText(value);
  if (text.empty()) RaiseRunTime(kErrInvalidCall);
  std::size_t at = 0;
  return TakeCode(text, at);
}

Variant Asc(Arguments args) {
  const std::uint32_t code = FirstCode(args[0]);
  const auto* special = std::find(kSpecials.begin(), kSpecials.end(), code);
  if (special != kSpecials.end() && code != 0) {
    return static_cast<std::int16_t>(kFirstSpecial +
                                     static_cast<std::uint32_t>(special - kSpecials.begin()));
  }
  return static_cast<std::int16_t>(code < 0x100U ? code : std::uint32_t{'?'});
}

Variant Chr(Arguments args) {
  const std::int32_t code = ToInt32(args[0]);
  if (code < 0 || code > 255) RaiseRunTime(kErrInvalidCall);
  const auto position = static_cast<std::uint32_t>(code);
  if (position < kFirstSpecial || position >= kFirstSpecial + kSpecials.size()) {
    return Encode(position);
  }
  const std::uint32_t special = kSpecials[position - kFirstSpecial];
  return Encode(special == 0 ? position : special);
}

// The first 16-bit unit, as a signed Integer.
Variant AscW(Arguments args) {
  std::uint32_t code = FirstCode(args[0]);
  if (code > 0xFFFFU) code = 0xD800U + ((code - 0x10000U) >> 10U);
  return static_cast<std::int16_t>(static_cast<std::uint16_t>(code));
}

// Half of a surrogate pair is no character of its own here: 5.
Variant ChrW(Arguments args) {
  const std::int32_t code = ToInt32(args[0]);
  const bool surrogate = (code >= 0xD800 && code <= 0xDFFF) || (code >= -10240 && code <= -8193);
  if (code < -32768 || code > 65535 || surrogate) RaiseRunTime(kErrInvalidCall);
  return Encode(static_cast<std::uint16_t>(code));
}

constexpr std::array kCharacterFunctions = {
    Function{"Asc", 1, 1, Asc},
    Function{"AscW", 1, 1, AscW},
    Function{"Chr", 1, 1, Chr},
    Function{"ChrW", 1, 1, ChrW},
};

}  // namespace

std::span<const Function> CharacterFunctions() { return kCharacterFunctions; }

}  // namespace qm

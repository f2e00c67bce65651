#include "comparison/soundex.h"

#include <cstddef>

namespace qm {

namespace {

constexpr std::size_t kCodeLength = 4;
constexpr char kVowel = '0';
constexpr char kTransparent = '-';

//                                    ABCDEFGHIJKLMNOPQRSTUVWXYZ
constexpr std::string_view kDigits = "01230120022455012623010202";

// Base letters of U+00C0 to U+017F; a blank is no letter.
constexpr std::string_view kBaseLetters =
    "AAAAAAACEEEEIIIIDNOOOOO OUUUUYTS"
    "AAAAAAACEEEEIIIIDNOOOOO OUUUUYTY"
    "AAAAAACCCCCCCCDDDDEEEEEEEEEEGGGG"
    "GGGGHHHHIIIIIIIIIIIIJJKKKLLLLLLL"
    "LLLNNNNNNNNNOOOOOOOORRRRRRSSSSSS"
    "SSTTTTTTUUUUUUUUUUUUWWYYYZZZZZZS";
static_assert(kBaseLetters.size() == 0x180 - 0xC0);

// The upper-case base letter that stands at `position`, or 0; moves past the character.
char NextLetter(std::string_view name, std::size_t& position) {
  const auto byte = static_cast<unsigned char>(name[position++]);
  if (byte >= 'A' && byte <= 'Z') return static_cast<char>(byte);
  if (byte >= 'a' && byte <= 'z') return static_cast<char>(byte - 'a' + 'A');
  if (byte < 0xC3U || byte > 0xC5U || position >= name.size()) return 0;
  const unsigned code =
      ((byte & 0x1FU) << 6U) | (static_cast<unsigned char>(name[position++]) & 0x3FU);
  const char letter = kBaseLetters[code - 0xC0U];
  return letter == ' ' ? '\0' : letter;
}

char DigitOf(char letter) {
  if (letter == 'H' || letter == 'W') return kTransparent;
  return kDigits[static_cast<std::size_t>(letter - 'A')];
}

}  // namespace

std::string BuiltInSoundex(std::string_view name) {
  std::string code;
  char last = 0;
  for (std::size_t i = 0; i < name.size() && code.size() < kCodeLength;) {
    const char letter = NextLetter(name, i);
    if (letter == 0) continue;
    const char digit = DigitOf(letter);
    if (code.empty()) {
      code.push_back(letter);
    } else if (digit != kVowel && digit != kTransparent && digit != last) {
      code.push_back(digit);
    }
    if (digit != kTransparent) last = digit;
  }
  if (!code.empty()) code.resize(kCodeLength, '0');
  return code;
}

}  // namespace qm

#include "runtime/text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace qm {

namespace {

char UpperAscii(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; }
char LowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; }

// Whether a letter of U+0100 to U+017F is the small one of its pair, and whether it has a pair:
// capitals are even up to Ķ and from Ŋ to Ŷ, odd from Ĺ to Ň and from Ź to Ž.
bool HasPair(unsigned letter) {
  return letter != 0x130U && letter != 0x131U && letter != 0x138U && letter != 0x149U &&
         letter != 0x178U && letter != 0x17FU;
}
bool IsSmallOfPair(unsigned letter) {
  const bool odd_capitals = (letter >= 0x139U && letter <= 0x148U) || letter >= 0x179U;
  return ((letter & 1U) != 0) != odd_capitals;
}

unsigned UpperLatin(unsigned letter) {
  if (letter == 0xFFU) return 0x178U;
  if (letter >= 0xE0U && letter <= 0xFEU && letter != 0xF7U) return letter - 0x20U;
  return letter >= 0x100U && HasPair(letter) && IsSmallOfPair(letter) ? letter - 1 : letter;
}
unsigned LowerLatin(unsigned letter) {
  if (letter == 0x178U) return 0xFFU;
  if (letter >= 0xC0U && letter <= 0xDEU && letter != 0xD7U) return letter + 0x20U;
  return letter >= 0x100U && HasPair(letter) && !IsSmallOfPair(letter) ? letter + 1 : letter;
}

// Latin letters up to U+017F stand in two bytes, C3 80 to C5 BF, in either case.
std::string MapCase(std::string_view text, char (*ascii)(char), unsigned (*latin)(unsigned)) {
  std::string result(text);
  for (std::size_t i = 0; i < result.size(); ++i) {
    if (result[i] >= '\xC3' && result[i] <= '\xC5' && i + 1 < result.size()) {
      const auto lead = static_cast<unsigned char>(result[i]);
      const auto rest = static_cast<unsigned char>(result[i + 1]);
      const unsigned letter = latin(((lead & 0x1FU) << 6U) | (rest & 0x3FU));
      result[i] = static_cast<char>(0xC0U | (letter >> 6U));
      result[++i] = static_cast<char>(0x80U | (letter & 0x3FU));
    } else {
      result[i] = ascii(result[i]);
    }
  }
  return result;
}

// Byte offset of a character; the text's size when it has fewer.
std::size_t Advance(std::string_view text, std::size_t from, std::size_t characters) {
  while (characters > 0 && from < text.size()) {
    ++from;
    while (from < text.size() && IsContinuation(text[from])) ++from;
    --characters;
  }
  return from;
}

}  // namespace

std::string UpperCase(std::string_view text) { return MapCase(text, UpperAscii, UpperLatin); }

std::string LowerCase(std::string_view text) { return MapCase(text, LowerAscii, LowerLatin); }

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return UpperAscii(x) == UpperAscii(y); });
}

bool ContainsName(const std::vector<std::string>& names, std::string_view name) {
  return std::ranges::any_of(names, [&](const auto& each) { return EqualsIgnoreCase(each, name); });
}

// The columns of a record are mostly blanks.
std::string_view Trim(std::string_view text) {
  constexpr std::string_view kBlanks = "        ";
  while (text.ends_with(kBlanks)) text.remove_suffix(kBlanks.size());
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  return text;
}

// Many bytes at once: records are long.
bool IsAscii(std::string_view text) {
  constexpr std::uint64_t kBeyondAscii = 0x8080808080808080U;
  std::array<std::uint64_t, 8> words{};
  while (text.size() >= sizeof words) {
    std::array<std::uint64_t, words.size()> more;
    std::memcpy(more.data(), text.data(), sizeof more);
    for (std::size_t i = 0; i < words.size(); ++i) words[i] |= more[i];
    text.remove_prefix(sizeof words);
  }
  std::uint64_t bits = 0;
  for (const std::uint64_t word : words) bits |= word;
  for (const char c : text) bits |= static_cast<unsigned char>(c);
  return (bits & kBeyondAscii) == 0;
}

bool IsValidUtf8(std::string_view text) {
  if (IsAscii(text)) return true;
  for (std::size_t i = 0; i < text.size();) {
    const auto lead = static_cast<unsigned char>(text[i]);
    const std::size_t length = lead < 0x80U                     ? 1
                               : lead >= 0xC2U && lead <= 0xDFU ? 2
                               : lead >= 0xE0U && lead <= 0xEFU ? 3
                               : lead >= 0xF0U && lead <= 0xF4U ? 4
                                                                : 0;
    if (length == 0 || i + length > text.size()) return false;
    for (std::size_t k = 1; k < length; ++k) {
      if (!IsContinuation(text[i + k])) return false;
    }
    const auto second = length > 1 ? static_cast<unsigned char>(text[i + 1]) : 0U;
    // Over-long forms, surrogates, and what lies beyond the last code point.
    if ((lead == 0xE0U && second < 0xA0U) || (lead == 0xEDU && second > 0x9FU) ||
        (lead == 0xF0U && second < 0x90U) || (lead == 0xF4U && second > 0x8FU)) {
      return false;
    }
    i += length;
  }
  return true;
}

std::size_t CharacterCount(std::string_view text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return !IsContinuation(c); }));
}

std::string_view CharacterSlice(std::string_view text, std::size_t first, std::size_t count) {
  if (IsAscii(text)) return first >= text.size() ? std::string_view{} : text.substr(first, count);
  const std::size_t begin = Advance(text, 0, first);
  return text.substr(begin, Advance(text, begin, count) - begin);
}

}  // namespace qm

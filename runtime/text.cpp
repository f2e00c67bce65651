#include "runtime/text.h"

#include <algorithm>
#include <cstdint>

namespace qm {

namespace {

char UpperAscii(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; }
char LowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; }

// Latin-1 letters are C3 80–BF in UTF-8; capital and small differ by 0x20 except × and ÷, and ß has
// no capital of one character; ÿ's capital stands elsewhere.
template <typename Ascii, typename Latin>
std::string MapCase(std::string_view text, Ascii ascii, Latin latin) {
  std::string result(text);
  for (std::size_t i = 0; i < result.size(); ++i) {
    if (result[i] == '\xC3' && i + 1 < result.size()) {
      ++i;
      result[i] = static_cast<char>(latin(static_cast<unsigned char>(result[i])));
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

std::string UpperCase(std::string_view text) {
  return MapCase(text, UpperAscii, [](unsigned byte) {
    return byte >= 0xA0U && byte <= 0xBEU && byte != 0xB7U ? byte - 0x20U : byte;
  });
}

std::string LowerCase(std::string_view text) {
  return MapCase(text, LowerAscii, [](unsigned byte) {
    return byte >= 0x80U && byte <= 0x9EU && byte != 0x97U ? byte + 0x20U : byte;
  });
}

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return UpperAscii(x) == UpperAscii(y); });
}

std::string_view Trim(std::string_view text) {
  const auto first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

bool IsAscii(std::string_view text) {
  return std::none_of(text.begin(), text.end(),
                      [](char c) { return (static_cast<unsigned char>(c) & 0x80U) != 0; });
}

bool IsValidUtf8(std::string_view text) {
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

#include "expression/utf16.h"

#include <qm/error.h>

namespace qm {

namespace {

constexpr std::uint32_t kHighSurrogates = 0xD800;
constexpr std::uint32_t kLowSurrogates = 0xDC00;
constexpr std::uint32_t kAfterSurrogates = 0xE000;
constexpr std::uint32_t kFirstPaired = 0x10000;
constexpr std::uint32_t kAfterLast = 0x110000;

}  // namespace

void AppendCode(std::string& text, std::uint32_t code) {
  const auto put = [&text](std::uint32_t byte) { text += static_cast<char>(byte); };
  const auto tail = [&put, code](unsigned shift) { put(0x80U | ((code >> shift) & 0x3FU)); };
  if (code < 0x80U) {
    put(code);
  } else if (code < 0x800U) {
    put(0xC0U | (code >> 6U));
    tail(0);
  } else if (code < kFirstPaired) {
    put(0xE0U | (code >> 12U));
    tail(6);
    tail(0);
  } else {
    put(0xF0U | (code >> 18U));
    tail(12);
    tail(6);
    tail(0);
  }
}

std::uint32_t TakeCode(std::string_view text, std::size_t& at) {
  const auto byte = [text](std::size_t i) -> std::uint32_t {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
  };
  const std::uint32_t lead = byte(at);
  const std::size_t length = lead < 0xC0U ? 1 : lead < 0xE0U ? 2 : lead < 0xF0U ? 3 : 4;
  std::uint32_t code = length == 1 ? lead : lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(at + i) & 0xC0U) != 0x80U) return static_cast<unsigned char>(text[at++]);
    code = (code << 6U) | (byte(at + i) & 0x3FU);
  }
  const bool surrogate = code >= kHighSurrogates && code < kAfterSurrogates;
  if (surrogate || code >= kAfterLast) return static_cast<unsigned char>(text[at++]);
  at += length;
  return code;
}

std::u16string ToUtf16(std::string_view text) {
  std::u16string units;
  units.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::uint32_t code = TakeCode(text, at);
    if (code < kFirstPaired) {
      units += static_cast<char16_t>(code);
    } else {
      units += static_cast<char16_t>(kHighSurrogates + ((code - kFirstPaired) >> 10U));
      units += static_cast<char16_t>(kLowSurrogates + ((code - kFirstPaired) & 0x3FFU));
    }
  }
  return units;
}

std::string FromUtf16(std::u16string_view units) {
  std::string text;
  for (std::size_t i = 0; i < units.size(); ++i) {
    std::uint32_t code = units[i];
    if (code >= kHighSurrogates && code < kAfterSurrogates) {
      const std::uint32_t low = i + 1 < units.size() ? units[i + 1] : 0U;
      if (code >= kLowSurrogates || low < kLowSurrogates || low >= kAfterSurrogates) {
        RaiseRunTime(kErrInvalidCall);
      }
      code = kFirstPaired + ((code - kHighSurrogates) << 10U) + (low - kLowSurrogates);
      ++i;
    }
    AppendCode(text, code);
  }
  return text;
}

}  // namespace qm

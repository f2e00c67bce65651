#include "datasets/import_text.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "runtime/text.h"

namespace qm {

namespace {

// Code points of the bytes 80 to 9F; 0 where the code page has none.
constexpr std::array<std::uint16_t, 32> kHighControls = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

void AppendUtf8(std::string& text, std::uint32_t code) {
  if (code < 0x80U) {
    text += static_cast<char>(code);
  } else if (code < 0x800U) {
    text += static_cast<char>(0xC0U | code >> 6U);
    text += static_cast<char>(0x80U | (code & 0x3FU));
  } else {
    text += static_cast<char>(0xE0U | code >> 12U);
    text += static_cast<char>(0x80U | (code >> 6U & 0x3FU));
    text += static_cast<char>(0x80U | (code & 0x3FU));
  }
}

// How many bytes at the end begin a character that is not whole.
std::size_t OpenBytes(std::string_view bytes) {
  for (std::size_t back = 1; back <= std::min<std::size_t>(3, bytes.size()); ++back) {
    const auto byte = static_cast<unsigned char>(bytes[bytes.size() - back]);
    if ((byte & 0xC0U) == 0x80U) continue;
    const std::size_t length = byte >= 0xF0U ? 4 : byte >= 0xE0U ? 3 : byte >= 0xC0U ? 2 : 1;
    return length > back ? back : 0;
  }
  return 0;
}

}  // namespace

bool IsControlCharacter(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return (byte < 0x20U && c != '\t') || byte == 0x7FU;
}

// Without a branch a character, since a record has thousands and seldom one of these.
bool HasControlCharacter(std::string_view text) {
  unsigned found = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const unsigned low = byte < 0x20U ? 1U : 0U;
    const unsigned tabulator = byte == 0x09U ? 1U : 0U;
    const unsigned deleted = byte == 0x7FU ? 1U : 0U;
    found |= (low & ~tabulator) | deleted;
  }
  return found != 0;
}

void Utf8Check::Update(std::string_view bytes) {
  if (!valid_) return;
  if (!open_.empty()) {
    // The few bytes that may belong to the open character are checked with it.
    const auto end = std::find_if(bytes.begin(), bytes.end(), [](char c) {
      return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
    });
    const auto count = static_cast<std::size_t>(end - bytes.begin());
    open_.append(bytes.substr(0, std::min<std::size_t>(count, 4)));
    bytes.remove_prefix(count);
    if (bytes.empty() && OpenBytes(open_) == open_.size()) return;
    valid_ = count <= 4 && IsValidUtf8(open_);
    open_.clear();
    if (!valid_) return;
  }
  const std::size_t open = OpenBytes(bytes);
  open_ = bytes.substr(bytes.size() - open);
  valid_ = IsValidUtf8(bytes.substr(0, bytes.size() - open));
}

std::optional<std::string> DecodeWindows1252(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size() + 16);
  for (const char c : bytes) {
    const std::uint32_t byte = static_cast<unsigned char>(c);
    const std::uint32_t code = byte >= 0x80U && byte < 0xA0U ? kHighControls[byte - 0x80U] : byte;
    if (code == 0 && byte != 0) return std::nullopt;
    AppendUtf8(text, code);
  }
  return text;
}

}  // namespace qm

#include "layout/layout_lookups.h"

#include "runtime/text.h"

namespace qm {

namespace {

bool IsAsciiByte(char c) { return (static_cast<unsigned char>(c) & 0x80U) == 0; }

}  // namespace

// Bytes outside ASCII are left out: their upper case is the text floor's business, and equality
// settles it.
std::size_t LayoutLookups::NameHash::operator()(std::string_view name) const noexcept {
  std::uint64_t hash = 14695981039346656037ULL;
  for (const char c : name) {
    if (!IsAsciiByte(c)) continue;
    const char upper = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
    hash = (hash ^ static_cast<unsigned char>(upper)) * 1099511628211ULL;
  }
  return static_cast<std::size_t>(hash);
}

bool LayoutLookups::NameEqual::operator()(std::string_view a, std::string_view b) const {
  if (EqualsIgnoreCase(a, b)) return true;
  return !IsAscii(a) && !IsAscii(b) && UpperCase(a) == UpperCase(b);
}

LayoutLookups::LayoutLookups(const std::vector<std::string>& names,
                             const std::vector<std::int16_t>& numbers, std::int16_t count) {
  by_name_.reserve(static_cast<std::size_t>(count));
  by_number_.reserve(static_cast<std::size_t>(count));
  for (std::int16_t i = 1; i <= count; ++i) {
    const auto element = static_cast<std::size_t>(i);
    by_name_.emplace(names[element], i);
    by_number_.emplace(numbers[element], i);
  }
}

std::int16_t LayoutLookups::ByName(std::string_view name) const {
  const auto found = by_name_.find(name);
  return found == by_name_.end() ? std::int16_t{-1} : found->second;
}

std::int16_t LayoutLookups::ByNumber(std::int16_t number) const {
  const auto found = by_number_.find(number);
  return found == by_number_.end() ? std::int16_t{-1} : found->second;
}

}  // namespace qm

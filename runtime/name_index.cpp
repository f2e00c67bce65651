#include "runtime/name_index.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::size_t kFewestSlots = 16;

template <typename Word>
std::uint64_t Load(const char* bytes) {
  Word word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

// Letters that differ in case alone differ in this bit. Names that are not all ASCII have other
// pairs too: only their length counts, and equality settles it.
std::uint32_t Hash(std::string_view name) {
  constexpr std::uint64_t kCase = 0x2020202020202020U;
  constexpr std::uint64_t kBeyondAscii = 0x8080808080808080U;
  std::uint64_t hash = name.size();
  std::uint64_t bits = 0;
  const auto mix = [&](std::uint64_t word) {
    bits |= word;
    hash = (hash ^ (word | kCase)) * 0x9E3779B97F4A7C15U;
    hash ^= hash >> 32U;
  };
  const char* at = name.data();
  std::size_t left = name.size();
  if (left >= 8) {
    for (; left > 8; left -= 8, at += 8) mix(Load<std::uint64_t>(at));
    mix(Load<std::uint64_t>(at + left - 8));
  } else if (left >= 4) {
    mix(Load<std::uint32_t>(at) | Load<std::uint32_t>(at + left - 4) << 32U);
  } else if (left > 0) {
    mix(Load<std::uint8_t>(at) | Load<std::uint8_t>(at + left / 2) << 8U |
        Load<std::uint8_t>(at + left - 1) << 16U);
  }
  return static_cast<std::uint32_t>((bits & kBeyondAscii) != 0 ? name.size() : hash);
}

}  // namespace

void NameIndex::Clear(std::size_t count) {
  names_.clear();
  entries_.clear();
  entries_.reserve(count);
  Spread(std::max(std::bit_ceil(2 * count), kFewestSlots));
}

// Half of the slots at least are free.
void NameIndex::Spread(std::size_t slots) {
  slots_.assign(slots, 0);
  std::uint32_t place = 0;
  for (const Entry& entry : entries_) {
    std::size_t at = entry.hash & (slots - 1);
    while (slots_[at] != 0) at = (at + 1) & (slots - 1);
    slots_[at] = ++place;
  }
}

bool NameIndex::Same(const Entry& entry, std::string_view name) const {
  if (entry.size != name.size()) return false;
  const std::string_view own(names_.data() + entry.start, entry.size);
  if (own == name || EqualsIgnoreCase(own, name)) return true;
  return letters_ == Letters::kLatin && !IsAscii(own) && !IsAscii(name) &&
         UpperCase(own) == UpperCase(name);
}

const NameIndex::Entry* NameIndex::FindEntry(std::string_view name, std::uint32_t hash) const {
  if (slots_.empty()) return nullptr;
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t at = hash & mask; slots_[at] != 0; at = (at + 1) & mask) {
    const Entry& entry = entries_[slots_[at] - 1];
    if (entry.hash == hash && Same(entry, name)) return &entry;
  }
  return nullptr;
}

void NameIndex::Add(std::string_view name, int number) {
  const std::uint32_t hash = Hash(name);
  if (FindEntry(name, hash) != nullptr) return;
  entries_.push_back({hash, static_cast<std::uint32_t>(names_.size()),
                      static_cast<std::uint32_t>(name.size()), number});
  names_.insert(names_.end(), name.begin(), name.end());
  if (2 * entries_.size() > slots_.size()) {
    Spread(std::max(2 * slots_.size(), kFewestSlots));
    return;
  }
  std::size_t at = hash & (slots_.size() - 1);
  while (slots_[at] != 0) at = (at + 1) & (slots_.size() - 1);
  slots_[at] = static_cast<std::uint32_t>(entries_.size());
}

int NameIndex::Find(std::string_view name) const {
  const Entry* entry = FindEntry(name, Hash(name));
  return entry == nullptr ? -1 : entry->number;
}

}  // namespace qm

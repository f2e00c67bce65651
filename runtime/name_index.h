// NameIndex: numbers by name, without regard to case: columns of a recordset, fields of a layout.
// It keeps the names in one block of memory; a look-up allocates nothing and costs one probe of a
// hash that reads eight bytes at a time. Of one name added twice the first number is found.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace qm {

class NameIndex {
 public:
  /// Which letters have two cases: the ASCII ones, or those up to U+017F (`UpperCase`).
  enum class Letters { kAscii, kLatin };

  explicit NameIndex(Letters letters = Letters::kAscii) : letters_(letters) {}

  /// Forgets all names; room is made for `count`.
  void Clear(std::size_t count);
  void Add(std::string_view name, int number);
  /// -1 when the name was not added.
  int Find(std::string_view name) const;

 private:
  struct Entry {
    std::uint32_t hash;
    std::uint32_t start;  // in names_
    std::uint32_t size;
    int number;
  };

  const Entry* FindEntry(std::string_view name, std::uint32_t hash) const;
  bool Same(const Entry& entry, std::string_view name) const;
  void Spread(std::size_t slots);

  Letters letters_;
  std::vector<char> names_;
  std::vector<Entry> entries_;
  std::vector<std::uint32_t> slots_;  // place in entries_ and 1; 0 is free; a power of two of them
};

}  // namespace qm

// ColumnNames: columns by name, without regard to the case of ASCII letters; one hash probe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <unordered_map>

#include "dataaccess/provider.h"
#include "runtime/text.h"

namespace qm {

class ColumnNames {
 public:
  /// The columns must stay where they are for as long as the names are asked for.
  void Assign(const std::vector<Column>& columns) {
    ordinals_.clear();
    ordinals_.reserve(columns.size());
    // Of two columns of one name the first is found.
    for (std::size_t i = 0; i < columns.size(); ++i) {
      ordinals_.emplace(columns[i].name, static_cast<int>(i));
    }
  }
  /// -1 when there is none.
  int Find(std::string_view name) const {
    const auto found = ordinals_.find(name);
    return found == ordinals_.end() ? -1 : found->second;
  }

 private:
  struct Hash {
    std::size_t operator()(std::string_view name) const {
      std::uint64_t hash = 14695981039346656037U;
      for (const char c : name) {
        const auto lower = static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
        hash = (hash ^ lower) * 1099511628211U;
      }
      return static_cast<std::size_t>(hash);
    }
  };
  struct Same {
    bool operator()(std::string_view a, std::string_view b) const { return EqualsIgnoreCase(a, b); }
  };

  std::unordered_map<std::string_view, int, Hash, Same> ordinals_;
};

}  // namespace qm

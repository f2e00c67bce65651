// Connection strings: `Keyword=Value;Keyword="a value; with a semicolon"`. Keywords without regard
// to case; a value may stand in single or double quotes or in braces, the closing one doubled
// inside; blanks around are left out.
//
// Whatever follows a password is never quoted in a message, since a password may itself hold a
// semicolon and look like further parts: such parts are named by their position.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qm {

class ParsedConnectionString {
 public:
  /// 3001 for a part without "=", an open quote or a keyword given twice.
  explicit ParsedConnectionString(std::string_view text);

  /// Every keyword, by its first name, and its value, as given.
  std::vector<std::pair<std::string, std::string>> Values() const;
  /// The value of a keyword, by any of its names; nothing when it is not given.
  std::optional<std::string> Find(std::string_view keyword) const;
  /// Whether a message may quote the value of that keyword.
  bool MayName(std::string_view keyword) const;
  /// 3001 for the first keyword that is not among the known ones.
  void RequireKnown(std::span<const std::string_view> known) const;

 private:
  struct Part {
    int position;
    std::string keyword;
    std::string value;
    bool behind_password;
  };
  const Part* FindPart(std::string_view keyword) const;

  std::vector<Part> parts_;
};

}  // namespace qm

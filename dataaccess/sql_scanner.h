// SqlScanner: cuts statement text into tokens, knowing quoting ('', "", [], ``) and comments
// (-- and /* */). It understands no grammar; an open quote or comment reaches to the end of text.
#pragma once

#include <string>
#include <string_view>

namespace qm {

struct SqlToken {
  enum class Kind { kEnd, kWord, kQuotedName, kString, kNumber, kSymbol };
  Kind kind = Kind::kEnd;
  std::string_view text;   ///< as written, quotes included
  std::size_t offset = 0;  ///< where it begins in the whole text

  /// Whether it is that keyword, without regard to case.
  bool Is(std::string_view keyword) const;
  bool IsSymbol(char symbol) const { return kind == Kind::kSymbol && text.front() == symbol; }
  /// Whether it can be a name.
  bool IsName() const { return kind == Kind::kWord || kind == Kind::kQuotedName; }
};

class SqlScanner {
 public:
  explicit SqlScanner(std::string_view text) : text_(text) {}
  SqlToken Next();

 private:
  void SkipBlanksAndComments();
  std::size_t QuotedEnd(char close) const;

  std::string_view text_;
  std::size_t at_ = 0;
};

/// A name without its quotes; a bare one as it stands.
std::string UnquoteName(std::string_view name);

}  // namespace qm

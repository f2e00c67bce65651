// SqlScanner: cuts statement text into tokens, knowing quoting ('', "", [], ``) and comments
// (-- and /* */), and what the engine has beside them (`SqlQuoting`). It understands no grammar; an
// open quote or comment reaches to the end of text.
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

/// Where an engine's quoting and comments go beyond the standard's. Where a scanner and its engine
/// disagree on the end of a string or comment, one can hide a statement from the other.
struct SqlQuoting {
  bool escape_strings = false;       ///< E'it\'s', and $tag$it's$tag$
  bool nested_comments = false;      ///< /* /* */ */ is one comment
  bool return_ends_comment = false;  ///< a carriage return ends what "--" begins
  bool hash_comments = false;  ///< "#" begins a comment, "--" only before a blank, /*! */ is none
};

class SqlScanner {
 public:
  explicit SqlScanner(std::string_view text, SqlQuoting quoting = {})
      : text_(text), quoting_(quoting) {}
  SqlToken Next();

 private:
  bool At(std::string_view piece) const { return text_.substr(at_).starts_with(piece); }
  bool AtLineComment() const;
  bool AtBlockComment() const;
  void SkipBlanksAndComments();
  std::size_t BlockCommentEnd() const;
  std::size_t QuotedEnd(std::size_t open, char close, bool escapes = false) const;
  std::size_t DollarQuotedEnd() const;
  std::size_t WordEnd() const;

  std::string_view text_;
  SqlQuoting quoting_;
  std::size_t at_ = 0;
  bool behind_escape_string_ = false;
};

/// A name without its quotes; a bare one as it stands.
std::string UnquoteName(std::string_view name);

}  // namespace qm

#include "dataaccess/sql_scanner.h"

#include <algorithm>

#include "runtime/text.h"

namespace qm {

namespace {

bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool IsWordStart(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80U;
}
bool IsWordPart(char c) { return IsWordStart(c) || IsDigit(c) || c == '$'; }

char ClosingQuote(char open) { return open == '[' ? ']' : open; }

}  // namespace

bool SqlToken::Is(std::string_view keyword) const {
  return kind == Kind::kWord && EqualsIgnoreCase(text, keyword);
}

bool SqlScanner::AtLineComment() const {
  if (!quoting_.hash_comments) return At("--");
  if (At("#")) return true;
  if (!At("--")) return false;
  const auto behind = at_ + 2 < text_.size() ? static_cast<unsigned char>(text_[at_ + 2]) : 0U;
  return behind <= ' ' || behind == 0x7FU;
}

bool SqlScanner::AtBlockComment() const {
  return At("/*") && !(quoting_.hash_comments && (At("/*!") || At("/*M!")));
}

std::size_t SqlScanner::BlockCommentEnd() const {
  int depth = 0;
  for (std::size_t i = at_; i + 1 < text_.size(); ++i) {
    const std::string_view pair = text_.substr(i, 2);
    if (pair == "/*" && (depth == 0 || quoting_.nested_comments)) {
      ++depth;
      ++i;
    } else if (pair == "*/") {
      if (--depth == 0) return i + 2;
      ++i;
    }
  }
  return text_.size();
}

void SqlScanner::SkipBlanksAndComments() {
  const std::string_view line_ends = quoting_.return_ends_comment ? "\n\r" : "\n";
  while (at_ < text_.size()) {
    if (IsBlank(text_[at_])) {
      ++at_;
    } else if (AtLineComment()) {
      at_ = std::min(text_.find_first_of(line_ends, at_), text_.size());
    } else if (AtBlockComment()) {
      at_ = BlockCommentEnd();
    } else {
      return;
    }
  }
}

std::size_t SqlScanner::QuotedEnd(std::size_t open, char close, bool escapes) const {
  for (std::size_t i = open + 1; i < text_.size(); ++i) {
    if (escapes && text_[i] == '\\') {
      ++i;
    } else if (text_[i] == close) {
      if (close == ']' || i + 1 == text_.size() || text_[i + 1] != close) return i + 1;
      ++i;
    }
  }
  return text_.size();
}

// The end of a string in dollars, or where it stands when none begins here.
std::size_t SqlScanner::DollarQuotedEnd() const {
  std::size_t end = at_ + 1;
  while (end < text_.size() && text_[end] != '$' && IsWordPart(text_[end])) ++end;
  const bool tag = end < text_.size() && text_[end] == '$' && !IsDigit(text_[at_ + 1]);
  if (!tag) return at_;
  const std::string_view quote = text_.substr(at_, end + 1 - at_);
  const std::size_t close = text_.find(quote, end + 1);
  return close == std::string_view::npos ? text_.size() : close + quote.size();
}

std::size_t SqlScanner::WordEnd() const {
  std::size_t end = at_ + 1;
  const auto at_escape_string = [&] {
    return (text_[end] == 'E' || text_[end] == 'e') && text_.substr(end + 1).starts_with('\'');
  };
  while (end < text_.size() && IsWordPart(text_[end])) {
    if (quoting_.escape_strings && IsDigit(text_[at_]) && at_escape_string()) break;
    ++end;
  }
  return end;
}

SqlToken SqlScanner::Next() {
  SkipBlanksAndComments();
  SqlToken token;
  token.offset = at_;
  if (at_ == text_.size()) return token;
  const char first = text_[at_];
  std::size_t end = at_ + 1;
  bool escapes = false;
  if (first == '\'') {
    token.kind = SqlToken::Kind::kString;
    escapes = behind_escape_string_;  // a string goes on in the next line
    end = QuotedEnd(at_, first, escapes);
  } else if (quoting_.escape_strings && (At("E'") || At("e'"))) {
    token.kind = SqlToken::Kind::kString;
    escapes = true;
    end = QuotedEnd(at_ + 1, '\'', true);
  } else if (quoting_.escape_strings && first == '$' && DollarQuotedEnd() != at_) {
    token.kind = SqlToken::Kind::kString;
    end = DollarQuotedEnd();
  } else if (first == '"' || first == '`' || first == '[') {
    token.kind = SqlToken::Kind::kQuotedName;
    end = QuotedEnd(at_, ClosingQuote(first));
  } else if (IsWordStart(first) || IsDigit(first)) {
    token.kind = IsDigit(first) ? SqlToken::Kind::kNumber : SqlToken::Kind::kWord;
    end = WordEnd();
  } else {
    token.kind = SqlToken::Kind::kSymbol;
  }
  behind_escape_string_ = escapes;
  token.text = text_.substr(at_, end - at_);
  at_ = end;
  return token;
}

std::string UnquoteName(std::string_view name) {
  if (name.size() < 2) return std::string(name);
  const char close = ClosingQuote(name.front());
  const bool quoted = (close == '"' || close == '`' || close == ']') && name.back() == close;
  if (!quoted || (name.front() == ']')) return std::string(name);
  std::string result;
  for (std::size_t i = 1; i + 1 < name.size(); ++i) {
    result += name[i];
    if (name[i] == close && i + 2 < name.size() && name[i + 1] == close) ++i;
  }
  return result;
}

}  // namespace qm

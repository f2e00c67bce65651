#include "dataaccess/sql_scanner.h"

#include <algorithm>

#include "runtime/text.h"

namespace qm {

namespace {

bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
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

void SqlScanner::SkipBlanksAndComments() {
  while (at_ < text_.size()) {
    if (IsBlank(text_[at_])) {
      ++at_;
    } else if (text_.substr(at_, 2) == "--") {
      at_ = std::min(text_.find('\n', at_), text_.size());
    } else if (text_.substr(at_, 2) == "/*") {
      const std::size_t end = text_.find("*/", at_ + 2);
      at_ = end == std::string_view::npos ? text_.size() : end + 2;
    } else {
      return;
    }
  }
}

std::size_t SqlScanner::QuotedEnd(char close) const {
  for (std::size_t i = at_ + 1; i < text_.size(); ++i) {
    if (text_[i] != close) continue;
    if (close == ']' || i + 1 == text_.size() || text_[i + 1] != close) return i + 1;
    ++i;
  }
  return text_.size();
}

SqlToken SqlScanner::Next() {
  SkipBlanksAndComments();
  SqlToken token;
  token.offset = at_;
  if (at_ == text_.size()) return token;
  const char first = text_[at_];
  std::size_t end = at_ + 1;
  if (first == '\'') {
    token.kind = SqlToken::Kind::kString;
    end = QuotedEnd(first);
  } else if (first == '"' || first == '`' || first == '[') {
    token.kind = SqlToken::Kind::kQuotedName;
    end = QuotedEnd(ClosingQuote(first));
  } else if (IsWordStart(first) || IsDigit(first)) {
    token.kind = IsDigit(first) ? SqlToken::Kind::kNumber : SqlToken::Kind::kWord;
    while (end < text_.size() && IsWordPart(text_[end])) ++end;
  } else {
    token.kind = SqlToken::Kind::kSymbol;
  }
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

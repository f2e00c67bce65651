#include "expression/text_finder.h"

#include <utility>

namespace qm {

namespace {

// Below this length the library's search cannot take long.
constexpr std::size_t kShort = 8;

}  // namespace

TextFinder::TextFinder(std::string sought) : sought_(std::move(sought)) {
  if (sought_.size() <= kShort) return;
  borders_.resize(sought_.size());
  std::uint32_t border = 0;
  for (std::size_t i = 1; i < sought_.size(); ++i) {
    while (border > 0 && sought_[i] != sought_[border]) border = borders_[border - 1];
    if (sought_[i] == sought_[border]) ++border;
    borders_[i] = border;
  }
}

std::size_t TextFinder::Find(std::string_view text, std::size_t from) const {
  if (borders_.empty()) return text.find(sought_, from);
  std::size_t matched = 0;
  for (std::size_t i = from; i < text.size(); ++i) {
    while (matched > 0 && text[i] != sought_[matched]) matched = borders_[matched - 1];
    if (text[i] == sought_[matched]) ++matched;
    if (matched == sought_.size()) return i + 1 - matched;
  }
  return kNone;
}

std::size_t FindLast(std::string_view text, std::string_view sought) {
  if (sought.size() <= kShort) return text.rfind(sought);
  const std::string reversed(text.rbegin(), text.rend());
  const std::size_t found = TextFinder(std::string(sought.rbegin(), sought.rend())).Find(reversed);
  return found == TextFinder::kNone ? found : text.size() - found - sought.size();
}

}  // namespace qm

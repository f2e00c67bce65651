#include "comparison/string_comparator.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "comparison/comparator_formulas.h"
#include "runtime/text.h"

namespace qm {

namespace {

// A zeroed array of a text's length, without an allocation for the usual lengths.
template <typename T>
class Scratch {
 public:
  explicit Scratch(std::size_t size) {
    if (size > inline_.size()) heap_.resize(size);
    data_ = size > inline_.size() ? heap_.data() : inline_.data();
  }
  T& operator[](std::size_t index) { return data_[index]; }

 private:
  std::array<T, 64> inline_{};
  std::vector<T> heap_;
  T* data_;
};

// Characters as numbers; those of ASCII text as its bytes.
template <typename Char>
struct Pair {
  std::span<const Char> a;
  std::span<const Char> b;
  std::size_t shorter() const { return std::min(a.size(), b.size()); }
  std::size_t longer() const { return std::max(a.size(), b.size()); }
};

template <typename Char>
std::uint32_t Code(Char c) {
  return static_cast<std::uint32_t>(c);
}

// Which characters agree within the window, in order of `a`, each with the first free one of `b`.
template <typename Char>
Agreement FindAgreement(const Pair<Char>& pair, bool count_similar) {
  const auto& [a, b] = pair;
  const std::size_t window = AgreementWindow(a.size(), b.size());
  Scratch<unsigned char> matched_a(a.size());
  Scratch<unsigned char> matched_b(b.size());
  Agreement result;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const std::size_t end = std::min(i + window + 1, b.size());
    for (std::size_t j = i > window ? i - window : 0; j < end; ++j) {
      if (matched_b[j] == 0 && a[i] == b[j]) {
        matched_a[i] = matched_b[j] = 1;
        ++result.common;
        break;
      }
    }
  }
  std::size_t j = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (matched_a[i] == 0) continue;
    while (matched_b[j] == 0) ++j;
    if (a[i] != b[j++]) ++result.transposed;
  }
  result.transposed /= 2;
  if (!count_similar || result.common == pair.shorter()) return result;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (matched_a[i] != 0) continue;
    for (std::size_t k = 0; k < b.size(); ++k) {
      if (matched_b[k] == 0 && AreSimilar(Code(a[i]), Code(b[k]))) {
        matched_b[k] = 1;
        ++result.similar;
        break;
      }
    }
  }
  return result;
}

template <typename Char>
double Jaro(const Pair<Char>& pair) {
  return JaroScore(FindAgreement(pair, false), pair.a.size(), pair.b.size());
}

template <typename Char>
std::size_t CommonPrefix(const Pair<Char>& pair, bool stop_at_digit) {
  const std::size_t limit = std::min(kLongestPrefix, pair.shorter());
  std::size_t length = 0;
  while (length < limit && pair.a[length] == pair.b[length] &&
         !(stop_at_digit && IsDigitCode(Code(pair.a[length])))) {
    ++length;
  }
  return length;
}

template <typename Char>
double JaroWinkler(const Pair<Char>& pair) {
  return JaroWinklerScore(Jaro(pair), CommonPrefix(pair, false));
}

template <typename Char>
double WinklerFull(const Pair<Char>& pair) {
  const Agreement agreement = FindAgreement(pair, true);
  return WinklerFullScore(JaroScore(agreement, pair.a.size(), pair.b.size()), agreement.common,
                          CommonPrefix(pair, true), pair.a.size(), pair.b.size(),
                          IsDigitCode(Code(pair.a[0])));
}

// Insertions, deletions, changes and swaps of neighbours, no stretch edited twice; three rows.
template <typename Char>
double AlignmentAgreement(const Pair<Char>& pair) {
  const auto& [a, b] = pair;
  const std::size_t width = b.size() + 1;
  Scratch<std::size_t> first(width);
  Scratch<std::size_t> second(width);
  Scratch<std::size_t> third(width);
  Scratch<std::size_t>*before = &first, *previous = &second, *current = &third;
  for (std::size_t j = 0; j < width; ++j) (*previous)[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    (*current)[0] = i;
    for (std::size_t j = 1; j < width; ++j) {
      const std::size_t change = (*previous)[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      std::size_t best = std::min({(*previous)[j] + 1, (*current)[j - 1] + 1, change});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        best = std::min(best, (*before)[j - 2] + 1);
      }
      (*current)[j] = best;
    }
    std::swap(before, previous);
    std::swap(previous, current);
  }
  return DistanceScore((*previous)[b.size()], a.size(), b.size());
}

template <typename Char>
double Compare(const Pair<Char>& pair, std::int32_t parameter) {
  switch (parameter) {
    case kJaro:
      return Jaro(pair);
    case kWinklerFull:
      return WinklerFull(pair);
    case kAlignmentDistance:
      return AlignmentAgreement(pair);
    default:
      return JaroWinkler(pair);
  }
}

}  // namespace

std::u32string Characters(std::string_view text) {
  std::u32string result;
  result.reserve(text.size());
  for (const char c : text) {
    const char32_t byte = static_cast<unsigned char>(c);
    if ((byte & 0xC0U) == 0x80U && !result.empty()) {
      result.back() = (result.back() << 8U) | byte;
    } else {
      result.push_back(byte);
    }
  }
  return result;
}

double PlainCompare(std::string_view a, std::string_view b, std::int32_t parameter) {
  if (a.empty() || b.empty()) return 0;
  if (IsAscii(a) && IsAscii(b)) return Compare(Pair<char>{a, b}, parameter);
  const std::u32string wide_a = Characters(a);
  const std::u32string wide_b = Characters(b);
  return Compare(Pair<char32_t>{wide_a, wide_b}, parameter);
}

}  // namespace qm

#include "comparison/string_comparator.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "runtime/text.h"

namespace qm {

namespace {

constexpr double kPrefixThreshold = 0.7;
constexpr double kPrefixWeight = 0.1;
constexpr std::size_t kLongestPrefix = 4;

// Pairs of characters that hand and ear confuse.
constexpr std::array<const char*, 36> kSimilarPairs = {
    "AE", "AI", "AO", "AU", "BV", "EI", "EO", "EU", "IO", "IU", "OU", "IY",
    "EY", "CG", "EF", "WU", "WV", "XK", "SZ", "XS", "QC", "UV", "MN", "LI",
    "QO", "PR", "IJ", "2Z", "5S", "8B", "1I", "1L", "0O", "0Q", "CK", "GJ"};
constexpr double kSimilarTenths = 3;
constexpr unsigned kSimilarLimit = 'Z' + 1;

using SimilarTable = std::array<std::array<bool, kSimilarLimit>, kSimilarLimit>;

constexpr SimilarTable MakeSimilarTable() {
  SimilarTable table{};
  for (const char* pair : kSimilarPairs) {
    const auto x = static_cast<unsigned char>(pair[0]);
    const auto y = static_cast<unsigned char>(pair[1]);
    table[x][y] = table[y][x] = true;
  }
  return table;
}
constexpr SimilarTable kSimilar = MakeSimilarTable();

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
unsigned Code(Char c) {
  return static_cast<unsigned>(c);
}
template <typename Char>
bool IsDigit(Char c) {
  return c >= Char{'0'} && c <= Char{'9'};
}

struct Agreement {
  std::size_t common = 0;
  std::size_t transposed = 0;
  std::size_t similar = 0;
};

// Which characters agree within the window, in order of `a`, each with the first free one of `b`.
template <typename Char>
Agreement FindAgreement(const Pair<Char>& pair, bool count_similar) {
  const auto& [a, b] = pair;
  const std::size_t window = std::max<std::size_t>(pair.longer() / 2, 1) - 1;
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
    if (matched_a[i] != 0 || Code(a[i]) >= kSimilarLimit) continue;
    for (std::size_t k = 0; k < b.size(); ++k) {
      if (matched_b[k] == 0 && Code(b[k]) < kSimilarLimit && kSimilar[Code(a[i])][Code(b[k])]) {
        matched_b[k] = 1;
        ++result.similar;
        break;
      }
    }
  }
  return result;
}

template <typename Char>
double Jaro(const Pair<Char>& pair, const Agreement& agreement) {
  if (agreement.common == 0) return 0;
  const auto common = static_cast<double>(agreement.common);
  const double credited = kSimilarTenths * static_cast<double>(agreement.similar) / 10 + common;
  const double in_order = common - static_cast<double>(agreement.transposed);
  return (credited / static_cast<double>(pair.a.size()) +
          credited / static_cast<double>(pair.b.size()) + in_order / common) /
         3;
}

template <typename Char>
std::size_t CommonPrefix(const Pair<Char>& pair, bool stop_at_digit) {
  const std::size_t limit = std::min(kLongestPrefix, pair.shorter());
  std::size_t length = 0;
  while (length < limit && pair.a[length] == pair.b[length] &&
         !(stop_at_digit && IsDigit(pair.a[length]))) {
    ++length;
  }
  return length;
}

double AddPrefix(double score, std::size_t prefix) {
  return score + kPrefixWeight * static_cast<double>(prefix) * (1 - score);
}

template <typename Char>
double JaroWinkler(const Pair<Char>& pair) {
  const double score = Jaro(pair, FindAgreement(pair, false));
  return score > kPrefixThreshold ? AddPrefix(score, CommonPrefix(pair, false)) : score;
}

template <typename Char>
double WinklerFull(const Pair<Char>& pair) {
  const Agreement agreement = FindAgreement(pair, true);
  double score = Jaro(pair, agreement);
  if (score <= kPrefixThreshold) return score;
  const std::size_t prefix = CommonPrefix(pair, true);
  score = AddPrefix(score, prefix);
  const std::size_t common = agreement.common;
  // Long texts that agree in more than the prefix deserve more than their errors cost them.
  if (pair.shorter() > 4 && common > prefix + 1 && 2 * common >= pair.shorter() + prefix &&
      !IsDigit(pair.a[0])) {
    score += (1 - score) * static_cast<double>(common - prefix - 1) /
             static_cast<double>(pair.a.size() + pair.b.size() - 2 * prefix + 2);
  }
  return score;
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
  const auto longer = static_cast<double>(pair.longer());
  return (longer - static_cast<double>((*previous)[b.size()])) / longer;
}

template <typename Char>
double Compare(const Pair<Char>& pair, std::int32_t parameter) {
  switch (parameter) {
    case kJaro:
      return Jaro(pair, FindAgreement(pair, false));
    case kWinklerFull:
      return WinklerFull(pair);
    case kAlignmentDistance:
      return AlignmentAgreement(pair);
    default:
      return JaroWinkler(pair);
  }
}

// One number a character: its UTF-8 bytes packed, which tells characters apart as well as code
// points do and leaves ASCII as it is.
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

}  // namespace

double BuiltInCompare(std::string_view a, std::string_view b, std::int32_t parameter) {
  if (a.empty() || b.empty()) return 0;
  if (IsAscii(a) && IsAscii(b)) return Compare(Pair<char>{a, b}, parameter);
  const std::u32string wide_a = Characters(a);
  const std::u32string wide_b = Characters(b);
  return Compare(Pair<char32_t>{wide_a, wide_b}, parameter);
}

}  // namespace qm

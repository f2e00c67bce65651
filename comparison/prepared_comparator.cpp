#include "comparison/prepared_comparator.h"

#include <algorithm>
#include <bit>
#include <cstddef>

#include "comparison/agreement_bits.h"
#include "comparison/comparator_formulas.h"
#include "comparison/score_tables.h"
#include "comparison/string_comparator.h"

namespace qm {

namespace {

// Each unmatched character of the left text, in order, with the first free similar one of the
// right.
std::size_t CountSimilar(const ShortText& a, const ShortText& b, std::uint32_t free_a,
                         std::uint32_t free_b) {
  std::size_t similar = 0;
  for (; free_a != 0 && free_b != 0; free_a &= free_a - 1) {
    const std::uint32_t character = a[static_cast<std::size_t>(std::countr_zero(free_a))];
    for (std::uint32_t rest = free_b; rest != 0; rest &= rest - 1) {
      if (AreSimilar(character, b[static_cast<std::size_t>(std::countr_zero(rest))])) {
        free_b ^= LowestBit(rest);
        ++similar;
        break;
      }
    }
  }
  return similar;
}

template <std::size_t kSize>
Agreement FindAgreement(const ShortText& a, const ShortText& b, bool count_similar) {
  const auto found = FindBitAgreement(FastRows<kSize>(a, b), a.size(), b.size());
  Agreement result{found.common, found.transposed, 0};
  if (count_similar && result.common < std::min(a.size(), b.size())) {
    std::uint32_t free_b = 0;
    for (std::size_t j = 0; j < b.size(); ++j) {
      free_b |= (found.chosen[j] == 0 ? 1U : 0U) << j;
    }
    result.similar = CountSimilar(a, b, ~found.matched & ((1U << a.size()) - 1), free_b);
  }
  return result;
}

// The places behind the ends differ, so they end the prefix too.
std::size_t CommonPrefix(const ShortText& a, const ShortText& b) {
  const std::uint64_t different = a.word(0) ^ b.word(0);
  return static_cast<std::size_t>(std::countr_zero(different | std::uint64_t{1} << 32U)) / 8;
}

std::size_t PrefixUpToDigit(const ShortText& a, const ShortText& b) {
  const std::size_t prefix = CommonPrefix(a, b);
  std::size_t length = 0;
  while (length < prefix && !IsDigitCode(a[length])) ++length;
  return length;
}

template <std::size_t kSize>
double CompareSized(const ShortText& a, const ShortText& b, std::int32_t parameter) {
  if (parameter == kAlignmentDistance) {
    return DistanceScore(BitAlignmentDistance(FastRows<kSize>(a, b), a.size(), b.size()), a.size(),
                         b.size());
  }
  const Agreement agreement = FindAgreement<kSize>(a, b, parameter == kWinklerFull);
  const double jaro = JaroScore(agreement, a.size(), b.size());
  if (parameter == kJaro) return jaro;
  if (parameter != kWinklerFull) return JaroWinklerScore(jaro, CommonPrefix(a, b));
  return WinklerFullScore(jaro, agreement.common, PrefixUpToDigit(a, b), a.size(), b.size(),
                          IsDigitCode(a[0]));
}

// From the table, without the formula.
template <std::size_t kSize>
std::uint8_t PercentSized(const ShortText& a, const ShortText& b, std::int32_t parameter) {
  const Agreement agreement = FindAgreement<kSize>(a, b, false);
  const std::size_t place =
      AgreementPlace(agreement.common, agreement.transposed, CommonPrefix(a, b));
  return ScoreTables::For(parameter).Percents(a.size(), b.size())[place];
}

// Beside `CompareShort`, not one with it: as one, compilers no longer build the comparison into its
// callers, and a pair takes half as long again.
std::uint8_t PercentOfShort(const ShortText& a, const ShortText& b, std::int32_t parameter) {
  if (a.size() == 0 || b.size() == 0) return 0;
  const std::size_t longer = std::max(a.size(), b.size());
  if (longer <= 8) return PercentSized<8>(a, b, parameter);
  return longer <= 16 ? PercentSized<16>(a, b, parameter)
                      : PercentSized<ShortText::kMost>(a, b, parameter);
}

double CompareShort(const ShortText& a, const ShortText& b, std::int32_t parameter) {
  if (a.size() == 0 || b.size() == 0) return 0;
  const std::size_t longer = std::max(a.size(), b.size());
  if (longer <= 8) return CompareSized<8>(a, b, parameter);
  return longer <= 16 ? CompareSized<16>(a, b, parameter)
                      : CompareSized<ShortText::kMost>(a, b, parameter);
}

}  // namespace

PreparedComparator::PreparedComparator(std::string_view text, std::int32_t parameter)
    : text_(text), parameter_(parameter), is_short_(short_text_.Assign(text_, ShortText::kLeft)) {}

double PreparedComparator::Compare(std::string_view other) const {
  ShortText right;
  if (is_short_ && right.Assign(other, ShortText::kRight)) {
    return CompareShort(short_text_, right, parameter_);
  }
  return PlainCompare(text_, other, parameter_);
}

std::uint8_t PreparedComparator::Percent(std::string_view other) const {
  ShortText right;
  const bool has_table = parameter_ != kWinklerFull && parameter_ != kAlignmentDistance;
  if (!has_table || !is_short_ || !right.Assign(other, ShortText::kRight)) {
    return qm::Percent(Compare(other));
  }
  return PercentOfShort(short_text_, right, parameter_);
}

double BuiltInCompare(std::string_view a, std::string_view b, std::int32_t parameter) {
  ShortText left;
  ShortText right;
  if (left.Assign(a, ShortText::kLeft) && right.Assign(b, ShortText::kRight)) {
    return CompareShort(left, right, parameter);
  }
  return PlainCompare(a, b, parameter);
}

}  // namespace qm

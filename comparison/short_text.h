// ShortText: an ASCII text of at most 24 characters in three machine words, the shape in which two
// texts are compared without a loop over either. Two of them agree in a table of bits: `rows[j]`
// has bit i set where character j of one equals character i of the other.
//
// Places behind the end hold a filler. Both sides are made with different fillers, neither of them
// ASCII, so that a place behind an end equals nothing and needs no test.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#if defined(__x86_64__)
#include <emmintrin.h>
#endif

namespace qm {

class ShortText {
 public:
  static constexpr std::size_t kMost = 24;
  enum Filler : std::uint8_t { kLeft = 0xFE, kRight = 0xFF };

  /// Whether the text is short and ASCII; otherwise nothing is kept of it.
  bool Assign(std::string_view text, Filler filler) {
    const std::uint64_t fill = kOnes * filler;
    if (text.size() > 8) return AssignLong(text, fill);
    const std::uint64_t word = ReadUpToEight(text.data(), text.size());
    if ((word & kTopBits) != 0) return false;
    words_ = {word | FillFrom(fill, text.size()), fill, fill};
    size_ = text.size();
    return true;
  }

  std::size_t size() const { return size_; }
  std::uint64_t word(std::size_t index) const { return words_[index]; }
  std::uint32_t operator[](std::size_t index) const {
    return static_cast<std::uint8_t>(words_[index / 8] >> (8 * (index % 8)));
  }

  static constexpr std::uint64_t kOnes = 0x0101010101010101U;
  static constexpr std::uint64_t kTopBits = 0x8080808080808080U;

 private:
  // Character k in bits 8k and up, on every machine.
  template <typename Word>
  static Word Read(const char* p) {
    Word word;
    if constexpr (std::endian::native == std::endian::little) {
      std::memcpy(&word, p, sizeof word);
    } else {
      word = 0;
      for (std::size_t k = sizeof word; k-- > 0;) {
        word = static_cast<Word>(word << 8U | static_cast<unsigned char>(p[k]));
      }
    }
    return word;
  }
  // By reads that overlap: what they share is the same.
  static std::uint64_t ReadUpToEight(const char* p, std::size_t n) {
    if (n >= 4) {
      return Read<std::uint32_t>(p) | std::uint64_t{Read<std::uint32_t>(p + n - 4)}
                                          << (8 * (n - 4));
    }
    if (n == 0) return 0;
    return std::uint64_t{Read<std::uint8_t>(p)} |
           std::uint64_t{Read<std::uint8_t>(p + n / 2)} << (8 * (n / 2)) |
           std::uint64_t{Read<std::uint8_t>(p + n - 1)} << (8 * (n - 1));
  }
  // The filler behind a word's first characters, up to all eight of them.
  static std::uint64_t FillFrom(std::uint64_t fill, std::size_t characters) {
    return fill << (4 * characters) << (4 * characters);
  }
  bool AssignLong(std::string_view text, std::uint64_t fill) {
    const std::size_t n = text.size();
    if (n > kMost) return false;
    const std::uint64_t first = Read<std::uint64_t>(text.data());
    // What stands behind the last full word.
    const std::uint64_t last = Read<std::uint64_t>(text.data() + n - 8) >> (8 * ((24 - n) % 8));
    const std::uint64_t second = n > 16 ? Read<std::uint64_t>(text.data() + 8) : last;
    if (((first | second | last) & kTopBits) != 0) return false;
    words_ = {first, n > 16 ? second : last | FillFrom(fill, n - 8),
              n > 16 ? last | FillFrom(fill, n - 16) : fill};
    size_ = n;
    return true;
  }

  std::array<std::uint64_t, 3> words_{};
  std::size_t size_ = 0;
};

template <std::size_t kSize>
using AgreementRows = std::array<std::uint32_t, kSize>;

/// The rows for texts of at most `kSize` characters (8, 16 or 24), on every processor.
template <std::size_t kSize>
AgreementRows<kSize> PortableRows(const ShortText& a, const ShortText& b) {
  constexpr std::uint64_t kGather = 0x0102040810204080U;
  AgreementRows<kSize> rows{};
  for (std::size_t j = 0; j < kSize; ++j) {
    for (std::size_t w = 0; w < kSize / 8; ++w) {
      // A byte that equals becomes 0, which is the only one without a bit in the sum or above it.
      const std::uint64_t x = a.word(w) ^ (ShortText::kOnes * b[j]);
      const std::uint64_t equal =
          ~(((x & ~ShortText::kTopBits) + ~ShortText::kTopBits) | x | ~ShortText::kTopBits);
      rows[j] |= static_cast<std::uint32_t>(((equal >> 7U) * kGather) >> 56U) << (8 * w);
    }
  }
  return rows;
}

#if defined(__x86_64__)

namespace detail {

inline __m128i Register(std::uint64_t low, std::uint64_t high) {
  return _mm_set_epi64x(static_cast<std::int64_t>(high), static_cast<std::int64_t>(low));
}
inline std::uint32_t EqualBits(__m128i x, __m128i y) {
  return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(x, y)));
}

}  // namespace detail

// Eight by eight: the left text twice in a register beside two characters, each eight times.
inline AgreementRows<8> FastRows8(const ShortText& a, const ShortText& b) {
  using detail::EqualBits;
  const __m128i left = detail::Register(a.word(0), a.word(0));
  const __m128i once = detail::Register(b.word(0), 0);
  const __m128i twice = _mm_unpacklo_epi8(once, once);
  const __m128i low = _mm_unpacklo_epi16(twice, twice);
  const __m128i high = _mm_unpackhi_epi16(twice, twice);
  constexpr int kFirst = 0x50;
  constexpr int kSecond = 0xFA;
  const std::uint32_t r01 = EqualBits(left, _mm_shuffle_epi32(low, kFirst));
  const std::uint32_t r23 = EqualBits(left, _mm_shuffle_epi32(low, kSecond));
  const std::uint32_t r45 = EqualBits(left, _mm_shuffle_epi32(high, kFirst));
  const std::uint32_t r67 = EqualBits(left, _mm_shuffle_epi32(high, kSecond));
  return {r01 & 0xFFU, r01 >> 8U, r23 & 0xFFU, r23 >> 8U,
          r45 & 0xFFU, r45 >> 8U, r67 & 0xFFU, r67 >> 8U};
}

template <std::size_t kSize>
AgreementRows<kSize> FastRows(const ShortText& a, const ShortText& b) {
  if constexpr (kSize == 8) {
    return FastRows8(a, b);
  } else {
    const __m128i left = detail::Register(a.word(0), a.word(1));
    AgreementRows<kSize> rows;
    for (std::size_t j = 0; j < kSize; ++j) {
      const __m128i character = _mm_set1_epi8(static_cast<char>(b[j]));
      rows[j] = detail::EqualBits(left, character);
      if constexpr (kSize == 24) {
        const __m128i rest = detail::Register(a.word(2), a.word(2));
        rows[j] |= (detail::EqualBits(rest, character) & 0xFFU) << 16U;
      }
    }
    return rows;
  }
}

#else

template <std::size_t kSize>
AgreementRows<kSize> FastRows(const ShortText& a, const ShortText& b) {
  return PortableRows<kSize>(a, b);
}

#endif

}  // namespace qm

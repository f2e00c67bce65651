// The kernel of processors with SSSE3.
#include "comparison/dictionary_kernel.h"

#ifdef QM_HAS_SSSE3_KERNEL

#include <immintrin.h>

// Attributes of the functions, no option of the file: what headers define stays compiled for every
// processor.
#define QM_SIMD __attribute__((always_inline, target("ssse3"))) inline
#define QM_SIMD_KERNEL __attribute__((target("ssse3")))

namespace qm {

namespace {

struct Simd {
  using Vector = __m128i;

  QM_SIMD static Vector Zero() { return _mm_setzero_si128(); }
  QM_SIMD static Vector Load(const std::uint8_t* p) {
    return _mm_load_si128(reinterpret_cast<const Vector*>(p));
  }
  QM_SIMD static Vector LoadTable(const std::uint8_t* table) { return Load(table); }
  QM_SIMD static Vector Look(Vector table, Vector index) { return _mm_shuffle_epi8(table, index); }
  QM_SIMD static Vector And(Vector x, Vector y) { return _mm_and_si128(x, y); }
  /// What is in y and not in x.
  QM_SIMD static Vector AndNot(Vector x, Vector y) { return _mm_andnot_si128(x, y); }
  QM_SIMD static Vector Or(Vector x, Vector y) { return _mm_or_si128(x, y); }
  QM_SIMD static Vector Xor(Vector x, Vector y) { return _mm_xor_si128(x, y); }
  QM_SIMD static Vector Multiply16(Vector x, Vector y) { return _mm_mullo_epi16(x, y); }
  QM_SIMD static Vector Pack32(Vector x, Vector y) { return _mm_packs_epi32(x, y); }

  template <int kBits>
  QM_SIMD static Vector Set(std::uint32_t bits) {
    if constexpr (kBits == 8) return _mm_set1_epi8(static_cast<char>(bits));
    if constexpr (kBits == 16) return _mm_set1_epi16(static_cast<std::int16_t>(bits));
    return _mm_set1_epi32(static_cast<std::int32_t>(bits));
  }
  template <int kBits>
  QM_SIMD static Vector Add(Vector x, Vector y) {
    if constexpr (kBits == 8) return _mm_add_epi8(x, y);
    if constexpr (kBits == 16) return _mm_add_epi16(x, y);
    return _mm_add_epi32(x, y);
  }
  template <int kBits>
  QM_SIMD static Vector Sub(Vector x, Vector y) {
    if constexpr (kBits == 8) return _mm_sub_epi8(x, y);
    if constexpr (kBits == 16) return _mm_sub_epi16(x, y);
    return _mm_sub_epi32(x, y);
  }
  template <int kBits>
  QM_SIMD static Vector Equal(Vector x, Vector y) {
    if constexpr (kBits == 8) return _mm_cmpeq_epi8(x, y);
    if constexpr (kBits == 16) return _mm_cmpeq_epi16(x, y);
    return _mm_cmpeq_epi32(x, y);
  }
  template <int kBits, int kBy>
  QM_SIMD static Vector ShiftRight(Vector x) {
    if constexpr (kBits == 16) return _mm_srli_epi16(x, kBy);
    return _mm_srli_epi32(x, kBy);
  }
  template <int kBits>
  QM_SIMD static Vector UnpackLow(Vector x, Vector y) {
    if constexpr (kBits == 8) return _mm_unpacklo_epi8(x, y);
    return _mm_unpacklo_epi16(x, y);
  }
  template <int kBits>
  QM_SIMD static Vector UnpackHigh(Vector x, Vector y) {
    if constexpr (kBits == 8) return _mm_unpackhi_epi8(x, y);
    return _mm_unpackhi_epi16(x, y);
  }
  QM_SIMD static void StoreWords(Vector low, Vector high, std::uint16_t* places) {
    _mm_storeu_si128(reinterpret_cast<Vector*>(places), low);
    _mm_storeu_si128(reinterpret_cast<Vector*>(places + 8), high);
  }
};

}  // namespace

}  // namespace qm

#include "comparison/dictionary_kernel_simd.h"

namespace qm {

const DictionaryKernel kSsse3Kernel = {"SSSE3", kCounts};

}  // namespace qm

#endif

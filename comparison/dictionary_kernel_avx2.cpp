// The kernel of processors with AVX2.
#include "comparison/dictionary_kernel.h"

#ifdef QM_HAS_AVX2_KERNEL

#include <immintrin.h>

// Attributes of the functions, no option of the file: what headers define stays compiled for every
// processor.
#define QM_SIMD __attribute__((always_inline, target("avx2"))) inline
#define QM_SIMD_KERNEL __attribute__((target("avx2")))

namespace qm {

namespace {

struct Simd {
  using Vector = __m256i;

  QM_SIMD static Vector Zero() { return _mm256_setzero_si256(); }
  QM_SIMD static Vector Load(const std::uint8_t* p) {
    return _mm256_load_si256(reinterpret_cast<const Vector*>(p));
  }
  QM_SIMD static Vector LoadTable(const std::uint8_t* table) {
    return _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(table)));
  }
  QM_SIMD static Vector Look(Vector table, Vector index) {
    return _mm256_shuffle_epi8(table, index);
  }
  QM_SIMD static Vector And(Vector x, Vector y) { return _mm256_and_si256(x, y); }
  /// What is in y and not in x.
  QM_SIMD static Vector AndNot(Vector x, Vector y) { return _mm256_andnot_si256(x, y); }
  QM_SIMD static Vector Or(Vector x, Vector y) { return _mm256_or_si256(x, y); }
  QM_SIMD static Vector Xor(Vector x, Vector y) { return _mm256_xor_si256(x, y); }
  QM_SIMD static Vector Multiply16(Vector x, Vector y) { return _mm256_mullo_epi16(x, y); }
  QM_SIMD static Vector Pack32(Vector x, Vector y) { return _mm256_packs_epi32(x, y); }

  template <int kBits>
  QM_SIMD static Vector Set(std::uint32_t bits) {
    if constexpr (kBits == 8) return _mm256_set1_epi8(static_cast<char>(bits));
    if constexpr (kBits == 16) return _mm256_set1_epi16(static_cast<std::int16_t>(bits));
    return _mm256_set1_epi32(static_cast<std::int32_t>(bits));
  }
  template <int kBits>
  QM_SIMD static Vector Add(Vector x, Vector y) {
    if constexpr (kBits == 8) return _mm256_add_epi8(x, y);
    if constexpr (kBits == 16) return _mm256_add_epi16(x, y);
    return _mm256_add_epi32(x, y);
  }
  template <int kBits>
  QM_SIMD static Vector Sub(Vector x, Vector y) {
    if constexpr (kBits == 8) return _mm256_sub_epi8(x, y);
    if constexpr (kBits == 16) return _mm256_sub_epi16(x, y);
    return _mm256_sub_epi32(x, y);
  }
  template <int kBits>
  QM_SIMD static Vector Equal(Vector x, Vector y) {
    if constexpr (kBits == 8) return _mm256_cmpeq_epi8(x, y);
    if constexpr (kBits == 16) return _mm256_cmpeq_epi16(x, y);
    return _mm256_cmpeq_epi32(x, y);
  }
  template <int kBits, int kBy>
  QM_SIMD static Vector ShiftRight(Vector x) {
    if constexpr (kBits == 16) return _mm256_srli_epi16(x, kBy);
    return _mm256_srli_epi32(x, kBy);
  }
  template <int kBits>
  QM_SIMD static Vector UnpackLow(Vector x, Vector y) {
    if constexpr (kBits == 8) return _mm256_unpacklo_epi8(x, y);
    return _mm256_unpacklo_epi16(x, y);
  }
  template <int kBits>
  QM_SIMD static Vector UnpackHigh(Vector x, Vector y) {
    if constexpr (kBits == 8) return _mm256_unpackhi_epi8(x, y);
    return _mm256_unpackhi_epi16(x, y);
  }
  /// The halves of a register were unpacked each by itself.
  QM_SIMD static void StoreWords(Vector low, Vector high, std::uint16_t* places) {
    _mm256_storeu_si256(reinterpret_cast<Vector*>(places),
                        _mm256_permute2x128_si256(low, high, 0x20));
    _mm256_storeu_si256(reinterpret_cast<Vector*>(places + 16),
                        _mm256_permute2x128_si256(low, high, 0x31));
  }
};

}  // namespace

}  // namespace qm

#include "comparison/dictionary_kernel_simd.h"

namespace qm {

const DictionaryKernel kAvx2Kernel = {"AVX2", kCounts};

}  // namespace qm

#endif

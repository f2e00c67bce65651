// The kernels of NameDictionary: the counting of one prepared text against blocks of names of one
// length, 32 names side by side. There is one for each kind of processor; all give the same counts.
//
// A block of names of length n is n columns; column j holds character j of each name as a code: a
// number from 1 to 31 in the alphabet of the block, its low four bits in place and its fifth in the
// top bit, so that one byte shuffle finds what belongs to it in a table of 16. Code 0 is nothing
// and agrees with nothing.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "comparison/score_tables.h"

namespace qm {

inline constexpr std::size_t kBlockNames = 32;

struct alignas(kBlockNames) NameColumn {
  std::array<std::uint8_t, kBlockNames> lane{};
};

/// The prepared text, for one alphabet: for each code the places of the text that hold it, a bit a
/// place, eight places a table.
struct KernelQuery {
  struct alignas(16) Table : std::array<std::uint8_t, 16> {};

  std::size_t size = 0;         ///< 1 to 24
  std::size_t prefix_end = 0;   ///< no more characters count as the common prefix
  bool upper_codes = false;     ///< the alphabet has codes above 15
  std::array<Table, 3> low{};   ///< codes 0 to 15
  std::array<Table, 3> high{};  ///< codes 16 to 31
};

constexpr std::uint8_t EncodedCode(unsigned code) {
  return static_cast<std::uint8_t>((code & 15U) | (code >> 4U) << 7U);
}

/// The text, and for the counting of similar characters the places that hold one similar to a code
/// (its tables only).
struct KernelQueries {
  KernelQuery equal;
  KernelQuery similar;
};

enum class Counted {
  kAgreements,         ///< places of the score tables
  kSimilarAgreements,  ///< the same, plus `SimilarStep` for each pair of similar characters
  kDistances           ///< places of the score tables
};

struct DictionaryKernel {
  /// Writes a place for each name of `columns`, which are whole blocks of names of the length.
  using Count = void (*)(const KernelQueries& queries, std::span<const NameColumn> columns,
                         std::size_t length, std::uint16_t* places);

  const char* name;
  std::array<Count, 3> counts;  ///< by what is counted
};

/// Those that this processor runs, the fastest first, the portable one last.
std::span<const DictionaryKernel> DictionaryKernels();

extern const DictionaryKernel kPortableKernel;
#if defined(__x86_64__) && defined(__GNUC__)
#define QM_HAS_SSSE3_KERNEL
extern const DictionaryKernel kSsse3Kernel;
#if !defined(_WIN32)  // whose stack is not aligned for registers of 32 bytes
#define QM_HAS_AVX2_KERNEL
extern const DictionaryKernel kAvx2Kernel;
#endif
#endif

}  // namespace qm

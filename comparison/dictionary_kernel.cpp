#include "comparison/dictionary_kernel.h"

#include <algorithm>
#include <vector>

#include "comparison/agreement_bits.h"

namespace qm {

namespace {

std::uint32_t MaskOf(const KernelQuery& query, std::uint8_t code) {
  const auto& tables = (code & 0x80U) != 0 ? query.high : query.low;
  const std::size_t index = code & 15U;
  return tables[0][index] | std::uint32_t{tables[1][index]} << 8U |
         std::uint32_t{tables[2][index]} << 16U;
}

// Each unmatched place of the prepared text, in order, with the first free similar one of the name.
template <std::size_t kSize>
std::size_t CountSimilar(const BitAgreement<kSize>& found, AgreementRows<kSize> similar,
                         std::size_t size) {
  std::size_t count = 0;
  for (std::size_t j = 0; j < kSize; ++j) {
    if (found.chosen[j] != 0) similar[j] = 0;
  }
  for (std::uint32_t place = 1; place < 1U << size; place <<= 1U) {
    if ((found.matched & place) != 0) continue;
    const auto free = std::find_if(similar.begin(), similar.end(),
                                   [place](std::uint32_t row) { return (row & place) != 0; });
    if (free == similar.end()) continue;
    *free = 0;
    ++count;
  }
  return count;
}

template <std::size_t kSize, Counted kCounted>
std::size_t PlaceOf(const KernelQueries& queries, const NameColumn* columns, std::size_t length,
                    std::size_t lane) {
  const std::size_t size = queries.equal.size;
  const auto rows_of = [&](const KernelQuery& query) {
    AgreementRows<kSize> rows{};
    for (std::size_t j = 0; j < length; ++j) rows[j] = MaskOf(query, columns[j].lane[lane]);
    return rows;
  };
  const AgreementRows<kSize> rows = rows_of(queries.equal);
  if constexpr (kCounted == Counted::kDistances) return BitAlignmentDistance(rows, size, length);
  const auto found = FindBitAgreement(rows, size, length);
  std::size_t prefix = 0;
  while (prefix < queries.equal.prefix_end && ((rows[prefix] >> prefix) & 1U) != 0) ++prefix;
  const std::size_t place = AgreementPlace(found.common, found.transposed, prefix);
  if constexpr (kCounted == Counted::kAgreements) return place;
  return place + SimilarStep(size, length) * CountSimilar(found, rows_of(queries.similar), size);
}

template <std::size_t kSize, Counted kCounted>
void CountBlocks(const KernelQueries& queries, std::span<const NameColumn> columns,
                 std::size_t length, std::uint16_t* places) {
  for (; !columns.empty(); columns = columns.subspan(length)) {
    for (std::size_t lane = 0; lane < kBlockNames; ++lane) {
      *places++ = static_cast<std::uint16_t>(
          PlaceOf<kSize, kCounted>(queries, columns.data(), length, lane));
    }
  }
}

template <Counted kCounted>
void Count(const KernelQueries& queries, std::span<const NameColumn> columns, std::size_t length,
           std::uint16_t* places) {
  const std::size_t longer = std::max(queries.equal.size, length);
  const auto count = longer <= 8    ? CountBlocks<8, kCounted>
                     : longer <= 16 ? CountBlocks<16, kCounted>
                                    : CountBlocks<ShortText::kMost, kCounted>;
  count(queries, columns, length, places);
}

std::vector<DictionaryKernel> FindKernels() {
  std::vector<DictionaryKernel> kernels;
#ifdef QM_HAS_AVX2_KERNEL
  if (__builtin_cpu_supports("avx2")) kernels.push_back(kAvx2Kernel);
#endif
#ifdef QM_HAS_SSSE3_KERNEL
  if (__builtin_cpu_supports("ssse3")) kernels.push_back(kSsse3Kernel);
#endif
  kernels.push_back(kPortableKernel);
  return kernels;
}

}  // namespace

const DictionaryKernel kPortableKernel = {
    "portable",
    {Count<Counted::kAgreements>, Count<Counted::kSimilarAgreements>, Count<Counted::kDistances>}};

std::span<const DictionaryKernel> DictionaryKernels() {
  static const std::vector<DictionaryKernel> kernels = FindKernels();
  return kernels;
}

}  // namespace qm

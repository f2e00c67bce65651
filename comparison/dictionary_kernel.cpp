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

template <std::size_t kSize>
std::size_t PlaceOf(const AgreementRows<kSize>& rows, std::size_t size, std::size_t length,
                    bool distance) {
  if (distance) return BitAlignmentDistance(rows, size, length);
  const auto found = FindBitAgreement(rows, size, length);
  std::size_t prefix = 0;
  while (prefix < kLongestPrefix && ((rows[prefix] >> prefix) & 1U) != 0) ++prefix;
  return AgreementPlace(found.common, found.transposed, prefix);
}

template <std::size_t kSize>
void CountBlocks(const KernelQuery& query, std::span<const NameColumn> columns, std::size_t length,
                 std::uint16_t* places, bool distance) {
  AgreementRows<kSize> rows{};
  for (; !columns.empty(); columns = columns.subspan(length)) {
    for (std::size_t lane = 0; lane < kBlockNames; ++lane) {
      for (std::size_t j = 0; j < length; ++j) rows[j] = MaskOf(query, columns[j].lane[lane]);
      *places++ = static_cast<std::uint16_t>(PlaceOf(rows, query.size, length, distance));
    }
  }
}

template <bool kDistance>
void Count(const KernelQuery& query, std::span<const NameColumn> columns, std::size_t length,
           std::uint16_t* places) {
  const std::size_t longer = std::max(query.size, length);
  const auto count = longer <= 8    ? CountBlocks<8>
                     : longer <= 16 ? CountBlocks<16>
                                    : CountBlocks<ShortText::kMost>;
  count(query, columns, length, places, kDistance);
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

const DictionaryKernel kPortableKernel = {"portable", Count<false>, Count<true>};

std::span<const DictionaryKernel> DictionaryKernels() {
  static const std::vector<DictionaryKernel> kernels = FindKernels();
  return kernels;
}

}  // namespace qm

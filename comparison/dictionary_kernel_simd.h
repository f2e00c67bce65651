// The counting in vector registers, written once for every width of them. Whoever includes this
// defines before it, in an unnamed namespace, `QM_SIMD` (the attributes of a function for its
// processor) and `struct Simd`, the operations on one register. No branch depends on a name.
//
// A lane is as wide as the prepared text needs, 8, 16 or 32 bits; a register of characters then
// takes one, two or four registers of lanes, unpacked in the processor's order and packed again in
// the same one.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "comparison/comparator_formulas.h"
#include "comparison/dictionary_kernel.h"

namespace qm {

namespace {

using Vector = Simd::Vector;
constexpr std::size_t kMost = ShortText::kMost;
constexpr std::size_t kRegisterNames = sizeof(Vector);

alignas(16) constexpr std::uint8_t kBitCounts[16] = {0, 1, 1, 2, 1, 2, 2, 3,
                                                     1, 2, 2, 3, 2, 3, 3, 4};
// How many of four bits are set before the first that is not.
alignas(16) constexpr std::uint8_t kPrefixes[16] = {0, 1, 0, 2, 0, 1, 0, 3, 0, 1, 0, 2, 0, 1, 0, 4};
// What up to eight common characters, and mismatched ones, add to the place.
alignas(16) constexpr std::uint8_t kCommonPlaces[16] = {0, 5, 10, 20, 30, 45, 60, 80, 100};
alignas(16) constexpr std::uint8_t kMismatchPlaces[16] = {0, 0, 5, 5, 10, 10, 15, 15, 20};

template <int kBits, bool kUpperCodes>
struct QueryTables {
  static constexpr std::size_t kTables = kBits == 8 ? 1 : kBits == 16 ? 2 : 3;
  static constexpr std::size_t kParts = kBits / 8;

  QM_SIMD void Load(const KernelQuery& query) {
    for (std::size_t t = 0; t < kTables; ++t) {
      low[t] = Simd::LoadTable(query.low[t].data());
      high[t] = Simd::LoadTable(query.high[t].data());
    }
  }
  QM_SIMD Vector Look(std::size_t table, Vector codes) const {
    const Vector found = Simd::Look(low[table], codes);
    if constexpr (!kUpperCodes) return found;
    return Simd::Or(found, Simd::Look(high[table], Simd::Xor(codes, Simd::Set<8>(0x80))));
  }
  /// For each character its places in the prepared text, a lane each.
  QM_SIMD void Find(const std::uint8_t* characters, Vector* masks) const {
    const Vector codes = Simd::Load(characters);
    const Vector first = Look(0, codes);
    if constexpr (kBits == 8) {
      masks[0] = first;
    } else {
      const Vector second = Look(1, codes);
      const Vector low_pair = Simd::UnpackLow<8>(first, second);
      const Vector high_pair = Simd::UnpackHigh<8>(first, second);
      if constexpr (kBits == 16) {
        masks[0] = low_pair;
        masks[1] = high_pair;
      } else {
        const Vector third = Look(2, codes);
        const Vector low_third = Simd::UnpackLow<8>(third, Simd::Zero());
        const Vector high_third = Simd::UnpackHigh<8>(third, Simd::Zero());
        masks[0] = Simd::UnpackLow<16>(low_pair, low_third);
        masks[1] = Simd::UnpackHigh<16>(low_pair, low_third);
        masks[2] = Simd::UnpackLow<16>(high_pair, high_third);
        masks[3] = Simd::UnpackHigh<16>(high_pair, high_third);
      }
    }
  }

  Vector low[kTables];
  Vector high[kTables];
};

// Lanes of any width as two registers of 16 bits a name.
template <int kBits>
QM_SIMD void Widen(const Vector* lanes, Vector* words) {
  if constexpr (kBits == 8) {
    words[0] = Simd::UnpackLow<8>(lanes[0], Simd::Zero());
    words[1] = Simd::UnpackHigh<8>(lanes[0], Simd::Zero());
  } else if constexpr (kBits == 16) {
    words[0] = lanes[0];
    words[1] = lanes[1];
  } else {
    words[0] = Simd::Pack32(lanes[0], lanes[1]);
    words[1] = Simd::Pack32(lanes[2], lanes[3]);
  }
}

template <int kBits>
QM_SIMD void FindPlaces(const Vector* common, const Vector* mismatched, const Vector* prefixes,
                        Vector* words) {
  const Vector prefix_table = Simd::LoadTable(kPrefixes);
  if constexpr (kBits == 8) {
    const Vector place =
        Simd::Add<8>(Simd::Add<8>(Simd::Look(Simd::LoadTable(kCommonPlaces), common[0]),
                                  Simd::Look(Simd::LoadTable(kMismatchPlaces), mismatched[0])),
                     Simd::Look(prefix_table, prefixes[0]));
    Widen<8>(&place, words);
  } else {
    Vector m[2];
    Vector t[2];
    Vector p[2];
    Widen<kBits>(common, m);
    Widen<kBits>(mismatched, t);
    Widen<kBits>(prefixes, p);
    for (std::size_t k = 0; k < 2; ++k) {
      const Vector next = Simd::Add<16>(m[k], Simd::Set<16>(1));
      const Vector row =
          Simd::Add<16>(Simd::template ShiftRight<16, 2>(Simd::Multiply16(next, next)),
                        Simd::template ShiftRight<16, 1>(t[k]));
      words[k] =
          Simd::Add<16>(Simd::Multiply16(row, Simd::Set<16>(5)), Simd::Look(prefix_table, p[k]));
    }
  }
}

// How many places of the text that found no partner find a similar character among those of the
// names that found none: each in order with the first that is free. `similar` holds for each free
// character the places that it is similar to, and is used up.
template <int kBits>
QM_SIMD void CountSimilar(std::size_t size, std::size_t length, const Vector* matched,
                          Vector (*similar)[kBits / 8], Vector* count) {
  for (std::size_t r = 0; r < kBits / 8; ++r) {
    count[r] = Simd::Zero();
    for (std::size_t i = 0; i < size; ++i) {
      const Vector open = Simd::AndNot(matched[r], Simd::Set<kBits>(1U << i));
      Vector seeking = open;
      for (std::size_t j = 0; j < length; ++j) {
        const Vector passed = Simd::Equal<kBits>(Simd::And(similar[j][r], seeking), Simd::Zero());
        seeking = Simd::And(seeking, passed);
        similar[j][r] = Simd::And(similar[j][r], passed);
      }
      const Vector found = Simd::Xor(open, seeking);
      count[r] = Simd::Add<kBits>(
          count[r], Simd::AndNot(Simd::Equal<kBits>(found, Simd::Zero()), Simd::Set<kBits>(1)));
    }
  }
}

template <int kBits, bool kUpperCodes, bool kSimilarToo>
QM_SIMD_KERNEL void CountAgreements(const KernelQueries& queries,
                                    std::span<const NameColumn> columns, std::size_t length,
                                    std::uint16_t* places) {
  constexpr std::size_t kParts = kBits / 8;
  const KernelQuery& query = queries.equal;
  const std::size_t window = AgreementWindow(query.size, length);
  // What stands further back reaches no place of the prepared text.
  const std::size_t reaching = std::min(length, query.size + window);
  Vector reach[kMost];
  for (std::size_t j = 0; j < reaching; ++j) {
    const std::uint64_t bits = (((std::uint64_t{2} << (2 * window)) - 1) << j) >> window;
    reach[j] = Simd::Set<kBits>(static_cast<std::uint32_t>(bits));
  }
  QueryTables<kBits, kUpperCodes> tables;
  tables.Load(query);
  QueryTables<kBits, kUpperCodes> similar_tables;
  if constexpr (kSimilarToo) similar_tables.Load(queries.similar);
  const std::size_t prefix_end = std::min({query.prefix_end, query.size, length});
  const Vector all = Simd::Set<kBits>(static_cast<std::uint32_t>(reaching));
  const Vector step = Simd::Set<16>(static_cast<std::uint32_t>(SimilarStep(query.size, length)));

  for (; !columns.empty(); columns = columns.subspan(length)) {
    for (std::size_t part = 0; part < kBlockNames; part += kRegisterNames) {
      Vector masks[kMost][kParts];
      Vector idle[kMost][kParts];  // all ones where the character found no partner
      Vector matched[kParts];
      Vector unmatched[kParts];  // counted below zero, as the comparisons give it
      Vector out_of_order[kParts];
      Vector prefix[kParts];
      Vector common[kParts];
      for (std::size_t r = 0; r < kParts; ++r) {
        matched[r] = unmatched[r] = out_of_order[r] = prefix[r] = Simd::Zero();
      }
      for (std::size_t j = 0; j < reaching; ++j) {
        tables.Find(columns[j].lane.data() + part, masks[j]);
        for (std::size_t r = 0; r < kParts; ++r) {
          const Vector free = Simd::AndNot(matched[r], Simd::And(masks[j][r], reach[j]));
          const Vector chosen = Simd::And(free, Simd::Sub<kBits>(Simd::Zero(), free));
          matched[r] = Simd::Or(matched[r], chosen);
          idle[j][r] = Simd::Equal<kBits>(chosen, Simd::Zero());
          unmatched[r] = Simd::Add<kBits>(unmatched[r], idle[j][r]);
        }
      }
      for (std::size_t j = 0; j < prefix_end; ++j) {
        const Vector place = Simd::Set<kBits>(1U << j);
        for (std::size_t r = 0; r < kParts; ++r) {
          prefix[r] = Simd::Or(prefix[r], Simd::And(masks[j][r], place));
        }
      }
      Vector similar[kSimilarToo ? kMost : 1][kParts];
      Vector similar_count[kParts];
      if constexpr (kSimilarToo) {
        for (std::size_t j = 0; j < length; ++j) {
          similar_tables.Find(columns[j].lane.data() + part, similar[j]);
          if (j >= reaching) continue;
          for (std::size_t r = 0; r < kParts; ++r) {
            similar[j][r] = Simd::And(similar[j][r], idle[j][r]);
          }
        }
        CountSimilar<kBits>(query.size, length, matched, similar, similar_count);
      }
      for (std::size_t r = 0; r < kParts; ++r) {
        common[r] = Simd::Add<kBits>(all, unmatched[r]);
        out_of_order[r] = unmatched[r];
      }
      for (std::size_t j = 0; j < reaching; ++j) {
        for (std::size_t r = 0; r < kParts; ++r) {
          const Vector lowest = Simd::And(matched[r], Simd::Sub<kBits>(Simd::Zero(), matched[r]));
          const Vector next = Simd::AndNot(idle[j][r], lowest);
          matched[r] = Simd::Xor(matched[r], next);
          out_of_order[r] = Simd::Sub<kBits>(
              out_of_order[r], Simd::Equal<kBits>(Simd::And(next, masks[j][r]), Simd::Zero()));
        }
      }
      Vector words[2];
      FindPlaces<kBits>(common, out_of_order, prefix, words);
      if constexpr (kSimilarToo) {
        Vector counts[2];
        Widen<kBits>(similar_count, counts);
        for (std::size_t k = 0; k < 2; ++k) {
          words[k] = Simd::Add<16>(words[k], Simd::Multiply16(counts[k], step));
        }
      }
      Simd::StoreWords(words[0], words[1], places + part);
    }
    places += kBlockNames;
  }
}

template <int kBits>
QM_SIMD Vector CountBits(Vector bits) {
  const Vector table = Simd::LoadTable(kBitCounts);
  const Vector nibble = Simd::Set<8>(15);
  Vector count =
      Simd::Add<8>(Simd::Look(table, Simd::And(bits, nibble)),
                   Simd::Look(table, Simd::And(Simd::template ShiftRight<16, 4>(bits), nibble)));
  if constexpr (kBits == 8) return count;
  if constexpr (kBits == 32) {
    count = Simd::Add<8>(count, Simd::template ShiftRight<32, 16>(count));
  }
  count = Simd::Add<8>(count, Simd::template ShiftRight<kBits, 8>(count));
  return Simd::And(count, Simd::Set<kBits>(0xFF));
}

// As in agreement_bits.h, a column of the matrix for each character of the names.
template <int kBits, bool kUpperCodes>
QM_SIMD_KERNEL void CountDistances(const KernelQueries& queries,
                                   std::span<const NameColumn> columns, std::size_t length,
                                   std::uint16_t* places) {
  constexpr std::size_t kParts = kBits / 8;
  const KernelQuery& query = queries.equal;
  QueryTables<kBits, kUpperCodes> tables;
  tables.Load(query);
  const Vector ones = Simd::Set<8>(0xFF);
  const Vector first = Simd::Set<kBits>(1);
  const Vector text = Simd::Set<kBits>((1U << query.size) - 1);
  const Vector columns_passed = Simd::Set<kBits>(static_cast<std::uint32_t>(length));

  for (; !columns.empty(); columns = columns.subspan(length)) {
    for (std::size_t part = 0; part < kBlockNames; part += kRegisterNames) {
      Vector plus[kParts];
      Vector minus[kParts];
      Vector diagonal[kParts];
      Vector row_before[kParts];
      for (std::size_t r = 0; r < kParts; ++r) {
        plus[r] = ones;
        minus[r] = diagonal[r] = row_before[r] = Simd::Zero();
      }
      for (std::size_t j = 0; j < length; ++j) {
        Vector row[kParts];
        tables.Find(columns[j].lane.data() + part, row);
        for (std::size_t r = 0; r < kParts; ++r) {
          const Vector apart = Simd::AndNot(diagonal[r], row[r]);
          const Vector swapped = Simd::And(Simd::Add<kBits>(apart, apart), row_before[r]);
          const Vector carried = Simd::Add<kBits>(Simd::And(row[r], plus[r]), plus[r]);
          diagonal[r] =
              Simd::Or(Simd::Or(Simd::Xor(carried, plus[r]), row[r]), Simd::Or(minus[r], swapped));
          const Vector right_plus =
              Simd::Or(minus[r], Simd::Xor(Simd::Or(diagonal[r], plus[r]), ones));
          const Vector right_minus = Simd::And(diagonal[r], plus[r]);
          const Vector next_plus = Simd::Or(Simd::Add<kBits>(right_plus, right_plus), first);
          plus[r] = Simd::Or(Simd::Add<kBits>(right_minus, right_minus),
                             Simd::Xor(Simd::Or(diagonal[r], next_plus), ones));
          minus[r] = Simd::And(next_plus, diagonal[r]);
          row_before[r] = row[r];
        }
      }
      Vector distance[kParts];
      for (std::size_t r = 0; r < kParts; ++r) {
        distance[r] = Simd::Sub<kBits>(
            Simd::Add<kBits>(columns_passed, CountBits<kBits>(Simd::And(plus[r], text))),
            CountBits<kBits>(Simd::And(minus[r], text)));
      }
      Vector words[2];
      Widen<kBits>(distance, words);
      Simd::StoreWords(words[0], words[1], places + part);
    }
    places += kBlockNames;
  }
}

template <int kBits, bool kUpperCodes, Counted kCounted>
constexpr DictionaryKernel::Count CountOf() {
  if constexpr (kCounted == Counted::kDistances) return CountDistances<kBits, kUpperCodes>;
  return CountAgreements<kBits, kUpperCodes, kCounted == Counted::kSimilarAgreements>;
}

// By the narrowest lanes that hold the prepared text.
template <Counted kCounted>
void Count(const KernelQueries& queries, std::span<const NameColumn> columns, std::size_t length,
           std::uint16_t* places) {
  static constexpr DictionaryKernel::Count kCounts[3][2] = {
      {CountOf<8, false, kCounted>(), CountOf<8, true, kCounted>()},
      {CountOf<16, false, kCounted>(), CountOf<16, true, kCounted>()},
      {CountOf<32, false, kCounted>(), CountOf<32, true, kCounted>()}};
  const std::size_t size = queries.equal.size;
  const std::size_t width = size <= 8 ? 0 : size <= 16 ? 1 : 2;
  kCounts[width][queries.equal.upper_codes ? 1 : 0](queries, columns, length, places);
}

constexpr std::array<DictionaryKernel::Count, 3> kCounts = {
    Count<Counted::kAgreements>, Count<Counted::kSimilarAgreements>, Count<Counted::kDistances>};

}  // namespace

}  // namespace qm

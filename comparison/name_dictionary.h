// NameDictionary: distinct names, held so that one prepared text is compared with all of them at
// once. A registry of a million patients has tens of thousands of distinct surnames: each is then
// compared once a search, not once a patient.
//
// Names are added at any time and get a number that they keep; none is taken away. Numbers are not
// dense, since names are held in blocks of 32 of one length: size an array of scores by `Limit()`,
// and take from it only numbers that `Add` gave. Scores are `PlainCompare`'s, to the last bit.
//
// Cost: some nanoseconds a name, by the widest vector registers that the processor has, with a
// prepared text of at most 24 characters. Longer texts and odd names (longer than 24 characters,
// not ASCII, or of letters and digits mixed) are compared one by one. Memory: the characters twice
// and about 16 bytes a name.
//
// Comparing changes nothing, so many threads may compare at once while none adds. It is the
// built-in comparators that compare: ask first whether a comparison library serves in their place.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "comparison/dictionary_kernel.h"
#include "comparison/prepared_comparator.h"

namespace qm {

class NameDictionary {
 public:
  NameDictionary() : NameDictionary(DictionaryKernels().front()) {}
  /// With one of `DictionaryKernels()`, which outlives the dictionary.
  explicit NameDictionary(const DictionaryKernel& kernel);

  /// The name's number, a new one when the name is new.
  std::uint32_t Add(std::string_view name);
  std::optional<std::uint32_t> Find(std::string_view name) const;

  /// How many names there are.
  std::size_t size() const { return size_; }
  /// More than every number.
  std::size_t Limit() const { return blocks_.size() * kBlockNames; }
  /// What it holds in memory, about.
  std::size_t Bytes() const;
  /// Whether a name has this number.
  bool Has(std::uint32_t number) const;
  /// Valid until the next `Add`.
  std::string_view Name(std::uint32_t number) const;

  /// The agreement of the prepared text with each name, at the name's number; `scores` has at least
  /// `Limit()` places. Places that are no name's number receive anything.
  void Scores(const PreparedComparator& text, std::span<double> scores) const;
  /// The same in hundredths, rounded half to even.
  void Percents(const PreparedComparator& text, std::span<std::uint8_t> percents) const;

 private:
  enum Alphabet : std::size_t { kLetters, kDigits, kAlphabets };

  // Names of one alphabet and length, or the odd ones.
  struct Bucket {
    std::size_t length = 0;  // 0: the odd ones
    Alphabet alphabet = kLetters;
    std::vector<NameColumn> columns;    // for comparing with all
    std::string texts;                  // for looking at one, each after the other
    std::vector<std::string> odd;       // in place of both
    std::vector<std::uint32_t> blocks;  // what number each of its blocks has
    std::size_t names = 0;
  };
  struct BlockPlace {
    std::uint32_t bucket = 0;
    std::uint32_t index = 0;  // which of the bucket's blocks
  };
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t number_and_one = 0;  // 0: free
  };

  static std::size_t BucketOf(std::string_view name);
  std::size_t SlotOf(std::string_view name, std::uint32_t hash) const;
  std::uint32_t Append(std::string_view name);
  void Grow();
  template <typename Score>
  void CompareOneByOne(const Bucket& bucket, const PreparedComparator& text,
                       std::span<Score> scores) const;
  template <typename Score, typename ScoreOf>
  void CompareAtOnce(const std::u32string& text, std::int32_t parameter, ScoreOf score_of,
                     std::span<Score> scores) const;
  template <typename Score>
  void Compare(const PreparedComparator& text, std::span<Score> scores) const;

  const DictionaryKernel* kernel_;
  std::vector<Bucket> buckets_;
  std::vector<BlockPlace> blocks_;
  std::vector<Slot> slots_;
  std::size_t size_ = 0;
  std::size_t odd_bytes_ = 0;
};

}  // namespace qm

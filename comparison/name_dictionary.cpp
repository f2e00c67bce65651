#include "comparison/name_dictionary.h"

#include <algorithm>
#include <functional>
#include <type_traits>
#include <utility>

#include "comparison/comparator_formulas.h"
#include "comparison/score_tables.h"
#include "comparison/short_text.h"
#include "comparison/string_comparator.h"

namespace qm {

namespace {

constexpr std::size_t kMost = ShortText::kMost;
constexpr std::size_t kFirstSlots = 64;
// So many blocks are counted before their scores are read: what lies between stays in the cache.
constexpr std::size_t kBlocksAtOnce = 32;

// Characters by code, from code 1. A name belongs to the first alphabet that has all of it.
constexpr std::array<std::string_view, 2> kAlphabetCharacters = {"ABCDEFGHIJKLMNOPQRSTUVWXYZ -.,'",
                                                                 "0123456789 -/.,"};
constexpr auto kCodes = [] {
  std::array<std::array<std::uint8_t, 256>, 2> codes{};
  for (std::size_t a = 0; a < codes.size(); ++a) {
    for (std::size_t k = 0; k < kAlphabetCharacters[a].size(); ++k) {
      codes[a][static_cast<unsigned char>(kAlphabetCharacters[a][k])] =
          static_cast<std::uint8_t>(k + 1);
    }
  }
  return codes;
}();
constexpr unsigned kCodesOfATable = 16;

constexpr std::size_t kOddBucket = kAlphabetCharacters.size() * kMost;

std::uint8_t CodeOf(std::size_t alphabet, char c) {
  return kCodes[alphabet][static_cast<unsigned char>(c)];
}

std::uint32_t HashOf(std::string_view name) {
  const std::size_t hash = std::hash<std::string_view>{}(name);
  return static_cast<std::uint32_t>(hash ^ (hash >> 16U));
}

// Notes that the code stands for what is at a place of the text.
void Put(KernelQuery& query, unsigned code, std::size_t place) {
  auto& tables = code < kCodesOfATable ? query.low : query.high;
  auto& places = tables[place / 8][code % kCodesOfATable];
  places = static_cast<std::uint8_t>(places | 1U << (place % 8));
}

// Characters that the alphabet lacks agree with nothing in it.
KernelQueries MakeQueries(const std::u32string& text, std::size_t alphabet, std::size_t prefix_end,
                          bool similar_too) {
  const std::string_view characters = kAlphabetCharacters[alphabet];
  KernelQueries queries;
  queries.equal.size = text.size();
  queries.equal.prefix_end = prefix_end;
  queries.equal.upper_codes = characters.size() >= kCodesOfATable;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const unsigned code = text[i] < 128 ? kCodes[alphabet][text[i]] : 0;
    if (code != 0) Put(queries.equal, code, i);
    if (!similar_too) continue;
    for (unsigned other = 1; other <= characters.size(); ++other) {
      if (AreSimilar(text[i], static_cast<unsigned char>(characters[other - 1]))) {
        Put(queries.similar, other, i);
      }
    }
  }
  return queries;
}

template <typename Score>
Score AsScore(double agreement) {
  if constexpr (std::is_same_v<Score, double>) {
    return agreement;
  } else {
    return Percent(agreement);
  }
}

// The scores of Winkler's full comparator, which has too many for a table of all: computed where
// they are met first, for names of one length.
template <typename Score>
class FullScores {
 public:
  FullScores(bool digit_first, std::size_t size) : digit_first_(digit_first), size_(size) {}

  void Start(std::size_t length) {
    length_ = length;
    const std::size_t steps = std::min(size_, length) + 1;
    scores_.assign(steps * SimilarStep(size_, length), kUnknown);
  }
  Score operator[](std::size_t place) {
    Score& score = scores_[place];
    if (score == kUnknown) {
      const auto [agreement, prefix] = CountsAt(place, size_, length_);
      score =
          AsScore<Score>(WinklerFullScore(JaroScore(agreement, size_, length_), agreement.common,
                                          prefix, size_, length_, digit_first_));
    }
    return score;
  }

 private:
  static constexpr Score kUnknown = static_cast<Score>(255);

  bool digit_first_;
  std::size_t size_;
  std::size_t length_ = 0;
  std::vector<Score> scores_;
};

// The same for the others, from the tables.
template <typename Score>
class TableScores {
 public:
  TableScores(std::int32_t parameter, std::size_t size)
      : tables_(ScoreTables::For(parameter)), size_(size) {}

  void Start(std::size_t length) {
    if constexpr (std::is_same_v<Score, double>) {
      scores_ = tables_.Scores(size_, length);
    } else {
      scores_ = tables_.Percents(size_, length);
    }
  }
  Score operator[](std::size_t place) const { return scores_[place]; }

 private:
  const ScoreTables& tables_;
  std::size_t size_;
  const Score* scores_ = nullptr;
};

Counted CountedFor(std::int32_t parameter) {
  if (parameter == kAlignmentDistance) return Counted::kDistances;
  return parameter == kWinklerFull ? Counted::kSimilarAgreements : Counted::kAgreements;
}

}  // namespace

NameDictionary::NameDictionary(const DictionaryKernel& kernel)
    : kernel_(&kernel), buckets_(kOddBucket + 1), slots_(kFirstSlots) {
  static_assert(kAlphabetCharacters.size() == kAlphabets);
  for (std::size_t b = 0; b < kOddBucket; ++b) {
    buckets_[b].alphabet = static_cast<Alphabet>(b / kMost);
    buckets_[b].length = b % kMost + 1;
  }
}

std::size_t NameDictionary::BucketOf(std::string_view name) {
  if (name.empty() || name.size() > kMost) return kOddBucket;
  for (std::size_t a = 0; a < kAlphabets; ++a) {
    if (std::all_of(name.begin(), name.end(), [&](char c) { return CodeOf(a, c) != 0; })) {
      return a * kMost + name.size() - 1;
    }
  }
  return kOddBucket;
}

bool NameDictionary::Has(std::uint32_t number) const {
  if (number >= Limit()) return false;
  const BlockPlace& place = blocks_[number / kBlockNames];
  return place.index * kBlockNames + number % kBlockNames < buckets_[place.bucket].names;
}

std::string_view NameDictionary::Name(std::uint32_t number) const {
  const BlockPlace& place = blocks_[number / kBlockNames];
  const Bucket& bucket = buckets_[place.bucket];
  const std::size_t index = place.index * kBlockNames + number % kBlockNames;
  if (bucket.length == 0) return bucket.odd[index];
  return std::string_view(bucket.texts).substr(index * bucket.length, bucket.length);
}

std::size_t NameDictionary::Bytes() const {
  std::size_t bytes = slots_.capacity() * sizeof(Slot) + blocks_.capacity() * sizeof(BlockPlace);
  for (const Bucket& bucket : buckets_) {
    bytes += bucket.columns.capacity() * sizeof(NameColumn) + bucket.texts.capacity() +
             bucket.blocks.capacity() * sizeof(std::uint32_t);
  }
  return bytes + odd_bytes_;
}

// The name's slot, or the free one where it belongs.
std::size_t NameDictionary::SlotOf(std::string_view name, std::uint32_t hash) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = hash & mask;
  while (slots_[slot].number_and_one != 0 &&
         (slots_[slot].hash != hash || Name(slots_[slot].number_and_one - 1) != name)) {
    slot = (slot + 1) & mask;
  }
  return slot;
}

std::optional<std::uint32_t> NameDictionary::Find(std::string_view name) const {
  const Slot& slot = slots_[SlotOf(name, HashOf(name))];
  if (slot.number_and_one == 0) return std::nullopt;
  return slot.number_and_one - 1;
}

std::uint32_t NameDictionary::Add(std::string_view name) {
  const std::uint32_t hash = HashOf(name);
  std::size_t slot = SlotOf(name, hash);
  if (slots_[slot].number_and_one != 0) return slots_[slot].number_and_one - 1;
  if (2 * (size_ + 1) > slots_.size()) {
    Grow();
    slot = SlotOf(name, hash);
  }
  const std::uint32_t number = Append(name);
  slots_[slot] = {hash, number + 1};
  ++size_;
  return number;
}

void NameDictionary::Grow() {
  const std::vector<Slot> old = std::exchange(slots_, std::vector<Slot>(2 * slots_.size()));
  const std::size_t mask = slots_.size() - 1;
  for (const Slot& entry : old) {
    if (entry.number_and_one == 0) continue;
    std::size_t slot = entry.hash & mask;
    while (slots_[slot].number_and_one != 0) slot = (slot + 1) & mask;
    slots_[slot] = entry;
  }
}

std::uint32_t NameDictionary::Append(std::string_view name) {
  const std::size_t b = BucketOf(name);
  Bucket& bucket = buckets_[b];
  const std::size_t lane = bucket.names % kBlockNames;
  if (lane == 0) {
    bucket.columns.resize(bucket.columns.size() + bucket.length);
    blocks_.push_back(
        {static_cast<std::uint32_t>(b), static_cast<std::uint32_t>(bucket.blocks.size())});
    bucket.blocks.push_back(static_cast<std::uint32_t>(blocks_.size() - 1));
  }
  ++bucket.names;
  if (bucket.length == 0) {
    bucket.odd.emplace_back(name);
    odd_bytes_ += sizeof(std::string) + bucket.odd.back().capacity();
  } else {
    bucket.texts.append(name);
    NameColumn* const columns = bucket.columns.data() + bucket.columns.size() - bucket.length;
    for (std::size_t j = 0; j < name.size(); ++j) {
      columns[j].lane[lane] = EncodedCode(CodeOf(bucket.alphabet, name[j]));
    }
  }
  return static_cast<std::uint32_t>(bucket.blocks.back() * kBlockNames + lane);
}

template <typename Score>
void NameDictionary::CompareOneByOne(const Bucket& bucket, const PreparedComparator& text,
                                     std::span<Score> scores) const {
  for (std::size_t n = 0; n < bucket.names; ++n) {
    const std::size_t number = bucket.blocks[n / kBlockNames] * kBlockNames + n % kBlockNames;
    scores[number] = AsScore<Score>(text.Compare(Name(static_cast<std::uint32_t>(number))));
  }
}

template <typename Score, typename ScoreOf>
void NameDictionary::CompareAtOnce(const std::u32string& text, std::int32_t parameter,
                                   ScoreOf score_of, std::span<Score> scores) const {
  std::size_t prefix_end = std::min(kLongestPrefix, text.size());
  if (parameter == kWinklerFull) {
    const auto digit = std::find_if(text.begin(), text.end(), IsDigitCode);
    prefix_end = std::min(prefix_end, static_cast<std::size_t>(digit - text.begin()));
  }
  std::array<KernelQueries, kAlphabets> queries;
  for (std::size_t a = 0; a < kAlphabets; ++a) {
    queries[a] = MakeQueries(text, a, prefix_end, parameter == kWinklerFull);
  }
  const auto count = kernel_->counts[static_cast<std::size_t>(CountedFor(parameter))];
  std::array<std::uint16_t, kBlocksAtOnce * kBlockNames> places;
  for (const Bucket& bucket : buckets_) {
    if (bucket.names == 0 || bucket.length == 0) continue;
    score_of.Start(bucket.length);
    for (std::size_t block = 0; block < bucket.blocks.size(); block += kBlocksAtOnce) {
      const std::size_t some = std::min(kBlocksAtOnce, bucket.blocks.size() - block);
      count(queries[bucket.alphabet],
            {bucket.columns.data() + block * bucket.length, some * bucket.length}, bucket.length,
            places.data());
      for (std::size_t k = 0; k < some; ++k) {
        Score* const to = scores.data() + bucket.blocks[block + k] * kBlockNames;
        const std::uint16_t* const from = places.data() + k * kBlockNames;
        for (std::size_t lane = 0; lane < kBlockNames; ++lane) to[lane] = score_of[from[lane]];
      }
    }
  }
}

template <typename Score>
void NameDictionary::Compare(const PreparedComparator& text, std::span<Score> scores) const {
  const std::u32string characters = Characters(text.text());
  if (characters.empty() || characters.size() > kMost) {
    for (const Bucket& bucket : buckets_) CompareOneByOne(bucket, text, scores);
    return;
  }
  CompareOneByOne(buckets_[kOddBucket], text, scores);
  if (text.parameter() == kWinklerFull) {
    CompareAtOnce(characters, text.parameter(),
                  FullScores<Score>(IsDigitCode(characters[0]), characters.size()), scores);
  } else {
    CompareAtOnce(characters, text.parameter(),
                  TableScores<Score>(text.parameter(), characters.size()), scores);
  }
}

void NameDictionary::Scores(const PreparedComparator& text, std::span<double> scores) const {
  Compare(text, scores);
}

void NameDictionary::Percents(const PreparedComparator& text,
                              std::span<std::uint8_t> percents) const {
  Compare(text, percents);
}

}  // namespace qm

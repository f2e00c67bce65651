#include "benchmarks/comparison_proof.h"

#include <qm/conversions.h>

#include <random>
#include <utility>

#include "comparison/name_dictionary.h"
#include "comparison/prepared_comparator.h"
#include "comparison/string_comparator.h"

namespace qm::bench {

namespace {

constexpr std::size_t kOddTexts = 2000;

class Proof {
 public:
  Proof(const std::vector<std::string>& names, std::int64_t comparisons)
      : texts_(names), comparisons_(comparisons) {
    for (std::size_t n = 0; n < kOddTexts; ++n) texts_.push_back(AnyText());
    for (std::size_t n = 0; n < kOddTexts; ++n) texts_.push_back(Miswritten(Text()));
    for (const DictionaryKernel& kernel : DictionaryKernels()) {
      Held& held = dictionaries_.emplace_back(kernel.name, NameDictionary(kernel));
      for (const std::string& text : texts_) held.numbers.push_back(held.dictionary.Add(text));
    }
  }

  ProofResult Run() {
    while (result_.compared < comparisons_) {
      const std::string text = Below(3) == 0 ? AnyText() : Miswritten(Text());
      for (const int parameter : {kJaroWinkler, kJaro, kWinklerFull, kAlignmentDistance}) {
        CompareWithAll(text, parameter);
      }
    }
    return std::move(result_);
  }

 private:
  struct Held {
    Held(const char* kernel_name, NameDictionary held)
        : kernel(kernel_name), dictionary(std::move(held)) {}
    std::string kernel;
    NameDictionary dictionary;
    std::vector<std::uint32_t> numbers;
    std::vector<double> scores;
    std::vector<std::uint8_t> percents;
  };

  std::size_t Below(std::size_t limit) { return random_() % limit; }
  const std::string& Text() { return texts_[Below(texts_.size())]; }

  std::string AnyText() {
    constexpr std::string_view kLetters = "ABCEIOR-' ";
    constexpr std::string_view kAll = "ABEZ-09/ a\xC3\x91";
    const std::string_view from = Below(2) == 0 ? kLetters : kAll;
    std::string text(Below(Below(2) == 0 ? 12 : 28), ' ');
    for (char& c : text) c = from[Below(from.size())];
    return text;
  }

  std::string Miswritten(std::string text) {
    for (std::size_t slips = Below(4); slips > 0 && !text.empty(); --slips) {
      const std::size_t at = Below(text.size());
      if (Below(2) == 0) {
        std::swap(text[at], text[Below(text.size())]);
      } else {
        text[at] = static_cast<char>('A' + Below(26));
      }
    }
    return text;
  }

  void CompareWithAll(const std::string& text, std::int32_t parameter) {
    const PreparedComparator prepared(text, parameter);
    for (Held& held : dictionaries_) {
      held.scores.resize(held.dictionary.Limit());
      held.percents.resize(held.dictionary.Limit());
      held.dictionary.Scores(prepared, held.scores);
      held.dictionary.Percents(prepared, held.percents);
    }
    for (std::size_t n = 0; n < texts_.size(); ++n) {
      const std::string& other = texts_[n];
      const double score = PlainCompare(text, other, parameter);
      const auto check = [&](const std::string& way, bool same) {
        ++result_.compared;
        if (same || ++result_.different > 1) return;
        result_.example =
            way + ", comparator " + std::to_string(parameter) + ": " + text + " and " + other;
      };
      check("two texts", BuiltInCompare(text, other, parameter) == score);
      const auto percent = static_cast<std::uint8_t>(RoundHalfEven(score * 100));
      check("one prepared", prepared.Compare(other) == score && prepared.Percent(other) == percent);
      for (const Held& held : dictionaries_) {
        const std::uint32_t number = held.numbers[n];
        check(held.kernel, held.scores[number] == score && held.percents[number] == percent);
      }
    }
  }

  std::mt19937_64 random_{20261121};
  std::vector<std::string> texts_;
  std::int64_t comparisons_;
  std::vector<Held> dictionaries_;
  ProofResult result_;
};

}  // namespace

ProofResult ProveComparisons(const std::vector<std::string>& names, std::int64_t comparisons) {
  return Proof(names, comparisons).Run();
}

}  // namespace qm::bench

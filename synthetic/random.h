// Random: the generator's own random numbers (SplitMix64), so that one seed gives the same data on
// every platform; the standard library's distributions do not promise that.
//
// A stream is made from a seed, a purpose and an index. Whatever belongs to one person comes from
// that person's stream, so any of a million can be made again without keeping them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace qm {

class Random {
 public:
  Random(std::uint64_t seed, std::uint64_t purpose, std::uint64_t index)
      : state_(Mix(Mix(Mix(seed) ^ purpose) ^ index)) {}

  std::uint64_t Next() {
    state_ += kStep;
    return Mix(state_);
  }
  /// 0 to bound - 1; the bound must be positive. The bias of the modulus is far below what any
  /// count of people could show.
  std::int64_t Below(std::int64_t bound) {
    return static_cast<std::int64_t>(Next() % static_cast<std::uint64_t>(bound));
  }
  int Between(int first, int last) { return first + static_cast<int>(Below(last - first + 1)); }
  /// True in so many of a thousand cases.
  bool PerMille(int count) { return Below(1000) < count; }
  template <typename T, std::size_t N>
  const T& Pick(const T (&choices)[N]) {
    return choices[static_cast<std::size_t>(Below(static_cast<std::int64_t>(N)))];
  }
  /// The position of a weight, each as likely as its size.
  std::size_t PickWeighted(std::span<const int> weights) {
    int total = 0;
    for (const int weight : weights) total += weight;
    auto left = static_cast<int>(Below(total));
    std::size_t position = 0;
    while (left >= weights[position]) left -= weights[position++];
    return position;
  }

 private:
  static constexpr std::uint64_t kStep = 0x9E3779B97F4A7C15;

  static std::uint64_t Mix(std::uint64_t value) {
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EB;
    return value ^ (value >> 31);
  }

  std::uint64_t state_;
};

}  // namespace qm

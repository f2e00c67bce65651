// TextFinder: where a text occurs in others, in time proportional to their lengths whatever they
// hold (a plain search takes the product of both lengths for "aaa…b" in "aaaa…").
//
// Made once for what is sought, then asked for as many texts as wanted. Takes four bytes for each
// byte sought. The texts are compared byte by byte; to find without regard to case, give both in
// upper case.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qm {

class TextFinder {
 public:
  static constexpr std::size_t kNone = std::string_view::npos;

  explicit TextFinder(std::string sought);

  std::size_t Length() const { return sought_.size(); }
  /// The first place from `from` on, or `kNone`; an empty text is found at once.
  std::size_t Find(std::string_view text, std::size_t from = 0) const;

 private:
  std::string sought_;
  /// For each length of a matched beginning: the longest shorter beginning that also ends there.
  std::vector<std::uint32_t> borders_;
};

/// The last place where a text occurs, or `TextFinder::kNone`.
std::size_t FindLast(std::string_view text, std::string_view sought);

}  // namespace qm

// The summary of a run of `scripts/bench`: a line for each figure that has a target, told as soon
// as it is known. It goes to standard output and, so that one table can be made of several
// programs, to the end of the file that the environment names by QM_BENCH_SUMMARY.
#pragma once

#include <string>

namespace qm::bench {

struct Figure {
  std::string name;
  std::string ours;
  std::string peer{};  ///< empty: the target is no ratio
  double value = 0;    ///< what the target is about
  double target = 0;
  bool at_least = false;  ///< the target is a least value, not a greatest
};

/// "1.23 ms", by the size of the figure.
std::string Milliseconds(double milliseconds);
/// "12,345 /s"
std::string PerSecond(double count);

void PrintFigure(const Figure& figure);

}  // namespace qm::bench

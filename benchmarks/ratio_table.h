// RatioTable: what a unit of work costs through the library, beside the same work by hand, and the
// ratio of the two. Both sides run in one program on the same data; each counts its best
// repetition.
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace qm::bench {

using Work = std::function<void(benchmark::State&)>;

/// Processor time is not disturbed by other work on the machine; by the wall counts what another
/// process does for both sides.
enum class Clock { kProcessor, kWall };

/// Registers both sides. Each sets the number of units that it did (`SetItemsProcessed`).
void Compare(const std::string& name, Work library, Work by_hand, Clock clock = Clock::kProcessor);

class RatioTable : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override;
  void Finalize() override;
  /// Whether a run stopped with an error, which was reported.
  bool Failed() const { return failed_; }

 private:
  struct Costs {
    double library = 0;  ///< nanoseconds a unit; 0 when it did not run
    double by_hand = 0;
  };
  std::map<std::string, Costs> costs_;
  bool failed_ = false;
};

}  // namespace qm::bench

#include "benchmarks/ratio_table.h"

#include <array>
#include <cstdio>
#include <iostream>
#include <string_view>
#include <utility>

#include "benchmarks/summary.h"

namespace qm::bench {

namespace {

constexpr std::string_view kByHand = ", by hand";
constexpr int kRepetitions = 7;

// What is to cost at most so many times the same by hand, by how its name begins.
constexpr std::array<std::pair<std::string_view, double>, 3> kTargets = {
    {{"layout load", 3}, {"AddAbstract, a thousand", 1.25}, {"field read by name", 2}}};

std::string Duration(double nanoseconds) { return Milliseconds(nanoseconds / 1e6); }

// In the order of registration, whatever order they run in.
std::vector<std::string>& Names() {
  static std::vector<std::string> names;
  return names;
}

}  // namespace

void Compare(const std::string& name, Work library, Work by_hand, Clock clock) {
  Names().push_back(name);
  for (auto& [title, work] : {std::pair{name, std::move(library)},
                              std::pair{name + std::string(kByHand), std::move(by_hand)}}) {
    auto* const side = benchmark::RegisterBenchmark(title.c_str(), work);
    side->Repetitions(kRepetitions);
    if (clock == Clock::kWall) side->UseRealTime();
  }
}

void RatioTable::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    std::string name = run.run_name.function_name;
    if (run.error_occurred) {
      std::cerr << name << ": " << run.error_message << '\n';
      failed_ = true;
      continue;
    }
    if (run.run_type != Run::RT_Iteration) continue;
    const bool by_hand = name.ends_with(kByHand);
    if (by_hand) name.resize(name.size() - kByHand.size());
    Costs& costs = costs_[name];
    double& cost = by_hand ? costs.by_hand : costs.library;
    const double now = 1e9 / run.counters.at("items_per_second");
    if (cost == 0 || now < cost) cost = now;
  }
}

void RatioTable::Finalize() {
  std::printf("%-48s %12s %12s %8s\n", "a unit of work", "library", "by hand", "ratio");
  std::vector<Figure> figures;
  for (const std::string& name : Names()) {
    const auto found = costs_.find(name);
    if (found == costs_.end()) continue;
    const Costs& costs = found->second;
    std::printf("%-48s %12s %12s %8.2f\n", name.c_str(), Duration(costs.library).c_str(),
                Duration(costs.by_hand).c_str(),
                costs.by_hand > 0 ? costs.library / costs.by_hand : 0.0);
    for (const auto& [beginning, target] : kTargets) {
      if (costs.by_hand == 0 || !name.starts_with(beginning)) continue;
      figures.push_back({name, Duration(costs.library), Duration(costs.by_hand),
                         costs.library / costs.by_hand, target});
    }
  }
  std::printf("\n");
  for (const Figure& figure : figures) PrintFigure(figure);
}

}  // namespace qm::bench

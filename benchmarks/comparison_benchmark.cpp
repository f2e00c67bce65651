// What a comparison of names costs, beside the same by two plain loops: two names with nothing
// prepared, one prepared, and one against a dictionary of names, by each kernel that this processor
// runs. The repetitions of all rows are run interleaved; a row's time is their median, so that
// other work on the machine touches all alike.
//
//   comparison_benchmark [--proof=COMPARISONS] [--peer=NAME=COMMAND] [--benchmark_…]
//
// A peer's command prints its nanoseconds a comparison, over the same names; it is run before the
// rows and after them.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "benchmarks/comparison_proof.h"
#include "benchmarks/plain_two_loops.h"
#include "benchmarks/summary.h"
#include "comparison/name_dictionary.h"
#include "comparison/prepared_comparator.h"
#include "comparison/string_comparator.h"

namespace qm::bench {

namespace {

constexpr int kRepetitions = 15;
constexpr double kSecondsARepetition = 0.05;
constexpr std::size_t kPairs = std::size_t{1} << 14U;
constexpr std::string_view kPlain = "two plain loops";
// What is to cost at most such a share of that.
constexpr std::array<std::pair<std::string_view, double>, 3> kTargets = {
    {{"dictionary, SSSE3", 0.1},
     {"dictionary, AVX2", 0.05},
     {"two names, nothing prepared", 0.45}}};

double Median(std::vector<double> values) {
  if (values.empty()) return 0;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

// Distinct surnames and first names of the census.
std::vector<std::string> CensusNames() {
  std::set<std::string> names;
  for (const char* list : {"surnames", "male_firstnames", "female_firstnames"}) {
    std::ifstream in(std::string(QM_NAMES "/census1990_common_") + list + ".csv");
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line)) names.insert(line.substr(0, line.find(',')));
  }
  if (names.empty()) throw std::runtime_error("no names in " QM_NAMES);
  return {names.begin(), names.end()};
}

class TimeTable : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      Add(run.run_name.function_name, 1e9 / run.counters.at("items_per_second"));
    }
  }
  void Add(const std::string& row, double nanoseconds) { times_[row].push_back(nanoseconds); }
  /// Rows are printed in the order in which they are named here; those that did not run are not.
  void Expect(const std::string& row) { order_.push_back(row); }
  void Print() const {
    const auto plain = times_.find(std::string(kPlain));
    const double unit = plain == times_.end() ? 0 : Median(plain->second);
    std::printf("%-56s %12s %10s\n", "a comparison", "nanoseconds", "ratio");
    for (const std::string& row : order_) {
      const auto times = times_.find(row);
      if (times == times_.end()) continue;
      const double time = Median(times->second);
      std::printf("%-56s %12.2f %10.3f\n", row.c_str(), time, unit > 0 ? time / unit : 0.0);
    }
    std::cout << std::endl;
    for (const auto& [row, target] : kTargets) {
      const auto times = times_.find(std::string(row));
      if (times == times_.end() || unit == 0) continue;
      const double time = Median(times->second);
      PrintFigure({std::string(row) + ", beside two plain loops", Milliseconds(time / 1e6),
                   Milliseconds(unit / 1e6), time / unit, target});
    }
  }

 private:
  std::vector<std::string> order_;
  std::map<std::string, std::vector<double>> times_;
};

void Row(TimeTable& table, const std::string& name, std::function<void(benchmark::State&)> work) {
  table.Expect(name);
  benchmark::RegisterBenchmark(name.c_str(), std::move(work))
      ->Repetitions(kRepetitions)
      ->MinTime(kSecondsARepetition);
}

// Random pairs of names.
class Pairs {
 public:
  explicit Pairs(const std::vector<std::string>& names) {
    std::mt19937 random(20261121);
    const auto any = [&] { return std::string_view(names[random() % names.size()]); };
    for (std::size_t n = 0; n < kPairs; ++n) pairs_.emplace_back(any(), any());
  }
  template <typename Compare>
  void Row(TimeTable& table, const std::string& name, Compare compare) const {
    bench::Row(table, name, [this, compare](benchmark::State& state) {
      for (auto _ : state) {
        for (const auto& [a, b] : pairs_) benchmark::DoNotOptimize(compare(a, b));
      }
      state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kPairs));
    });
  }

 private:
  std::vector<std::pair<std::string_view, std::string_view>> pairs_;
};

constexpr std::array<std::pair<std::int32_t, std::string_view>, 4> kComparators = {
    {{kJaroWinkler, ""},
     {kJaro, ", Jaro"},
     {kWinklerFull, ", Winkler's full comparator"},
     {kAlignmentDistance, ", alignment distance"}}};

void AddPairRows(TimeTable& table, const Pairs& pairs, const std::vector<std::string>& names) {
  pairs.Row(table, std::string(kPlain), PlainTwoLoops);
  for (const auto& [parameter, suffix] : kComparators) {
    const auto compare = [p = parameter](auto function) {
      return [p, function](std::string_view a, std::string_view b) { return function(a, b, p); };
    };
    pairs.Row(table, "the plain comparator" + std::string(suffix), compare(PlainCompare));
    pairs.Row(table, "two names, nothing prepared" + std::string(suffix), compare(BuiltInCompare));
    const PreparedComparator prepared(names[names.size() / 2], parameter);
    pairs.Row(table, "one prepared name" + std::string(suffix),
              [prepared](std::string_view, std::string_view b) { return prepared.Compare(b); });
  }
}

template <typename Score>
void CompareAll(const NameDictionary& dictionary, const PreparedComparator& text,
                std::vector<Score>& scores) {
  if constexpr (std::is_same_v<Score, double>) {
    dictionary.Scores(text, scores);
  } else {
    dictionary.Percents(text, scores);
  }
}

// A prepared name after the other with all of the dictionary; preparing it is in the time.
template <typename Score>
void AddDictionaryRow(TimeTable& table, const std::string& name, const NameDictionary& dictionary,
                      const std::vector<std::string>& names, std::int32_t parameter) {
  Row(table, name, [&dictionary, &names, parameter](benchmark::State& state) {
    std::vector<Score> scores(dictionary.Limit());
    std::size_t next = 0;
    for (auto _ : state) {
      const PreparedComparator text(names[next], parameter);
      CompareAll(dictionary, text, scores);
      benchmark::DoNotOptimize(scores.data());
      next = (next + 997) % names.size();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(dictionary.size()));
  });
}

struct Peer {
  std::string name;
  std::string command;
};

Peer MakePeer(const std::string& option) {
  const std::size_t equals = option.find('=');
  if (!option.empty() && equals == std::string::npos) {
    throw std::runtime_error("--peer takes NAME=COMMAND");
  }
  return option.empty() ? Peer{} : Peer{option.substr(0, equals), option.substr(equals + 1)};
}

void RunPeer(const Peer& peer, TimeTable& table) {
  if (peer.command.empty()) return;
  FILE* const output = popen(peer.command.c_str(), "r");
  if (output == nullptr) throw std::runtime_error("cannot run " + peer.name);
  for (double time = 0; std::fscanf(output, "%lf", &time) == 1;) table.Add(peer.name, time);
  if (pclose(output) != 0) throw std::runtime_error(peer.name + " failed");
}

bool Prove(const std::vector<std::string>& names, std::int64_t comparisons) {
  const ProofResult result = ProveComparisons(names, comparisons);
  std::printf("%lld comparisons beside the plain one, %lld differ\n",
              static_cast<long long>(result.compared), static_cast<long long>(result.different));
  if (result.different > 0) std::cerr << result.example << '\n';
  return result.different == 0;
}

// The value of an option of this program's own, which is taken out of the arguments.
std::string TakeOption(std::vector<char*>& arguments, std::string_view option) {
  const auto found = std::find_if(arguments.begin(), arguments.end(),
                                  [&](std::string_view a) { return a.starts_with(option); });
  if (found == arguments.end()) return "";
  std::string value = *found + option.size();
  arguments.erase(found);
  return value;
}

int Run(std::vector<char*> arguments) {
  const std::string proof = TakeOption(arguments, "--proof=");
  const Peer peer = MakePeer(TakeOption(arguments, "--peer="));
  std::string interleave = "--benchmark_enable_random_interleaving=true";
  arguments.insert(arguments.begin() + 1, interleave.data());
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;

  const std::vector<std::string> names = CensusNames();
  if (!proof.empty() && !Prove(names, std::atoll(proof.c_str()))) return 1;

  TimeTable table;
  const Pairs pairs(names);
  AddPairRows(table, pairs, names);
  std::vector<NameDictionary> dictionaries;
  for (const DictionaryKernel& kernel : DictionaryKernels()) {
    NameDictionary& dictionary = dictionaries.emplace_back(kernel);
    for (const std::string& name : names) dictionary.Add(name);
  }
  for (std::size_t k = 0; k < dictionaries.size(); ++k) {
    const std::string title = std::string("dictionary, ") + DictionaryKernels()[k].name;
    AddDictionaryRow<std::uint8_t>(table, title, dictionaries[k], names, kJaroWinkler);
    AddDictionaryRow<double>(table, title + ", full scores", dictionaries[k], names, kJaroWinkler);
    AddDictionaryRow<std::uint8_t>(table, title + ", Winkler's full comparator", dictionaries[k],
                                   names, kWinklerFull);
    AddDictionaryRow<std::uint8_t>(table, title + ", alignment distance", dictionaries[k], names,
                                   kAlignmentDistance);
  }
  table.Expect(peer.name);
  RunPeer(peer, table);
  benchmark::RunSpecifiedBenchmarks(&table);
  RunPeer(peer, table);
  table.Print();
  benchmark::Shutdown();
  return 0;
}

}  // namespace

}  // namespace qm::bench

int main(int argc, char** argv) {
  try {
    return qm::bench::Run({argv, argv + argc});
  } catch (const std::exception& error) {
    std::cerr << "comparison_benchmark: " << error.what() << '\n';
    return 1;
  }
}

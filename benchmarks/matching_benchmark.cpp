// What matching costs in a generated registry: one record and many, in memory and in the database,
// beside the same work by hand, a database engine's SQL and the whole program; and a proof that
// memory and database find the same.
//
//   matching_benchmark FOLDER --rules=FILE [--shipped=FILE | --peer=COMMAND [--qm=PROGRAM]]
//
// With a peer, which answers statements as benchmarks/duckdb_questions.mjs does, the figures with a
// target are told, by the first rules of the file; those of the whole process with `qm`. Without a
// peer, what ever more of the rules cost, and the rules that a registry is shipped with.
#include <qm/match_rules.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "benchmarks/matching_registry.h"
#include "benchmarks/matching_sql.h"
#include "benchmarks/peer_process.h"
#include "benchmarks/summary.h"

namespace qm::bench {

namespace {

constexpr int kRounds = 3;
constexpr std::size_t kResidentRecords = 2000;
constexpr std::size_t kDatabaseRecords = 300;
constexpr std::size_t kProofRecords = 1000;
constexpr std::size_t kAgainstAllRecords = 5;
constexpr int kTargetRules = 8;
constexpr int kMostRules = 16;
constexpr double kLong = 1e12;

struct Options {
  std::filesystem::path folder;
  std::string rules;
  std::string shipped;
  std::string program;
  std::string peer;
};

MatchRules ReadRules(const std::string& file) {
  std::ifstream in(file);
  std::ostringstream text;
  text << in.rdbuf();
  if (!in) throw std::runtime_error("cannot read " + file);
  return ParseMatchRules(text.str());
}

// With the first so many comparison rules, in the order of the file.
MatchRules FirstRules(MatchRules rules, int count) {
  const auto& columns = rules.matching.columns;
  const auto ignore = std::ranges::find(columns, "ignore") - columns.begin();
  for (RuleTable::Row& row : rules.matching.rows) {
    row.values.at(static_cast<std::size_t>(ignore)) = std::int32_t{count-- > 0 ? 0 : 1};
  }
  return rules;
}

// The costs of a set of rules that grow with the registry and the rules, as a line.
void PrintCosts(MatchingRegistry& registry, const std::string& rules) {
  const double making = registry.MakeIndex();
  const std::int64_t patients = registry.index().PatientCount();
  const auto single = registry.SearchIndex(kResidentRecords, 3);
  Found found;
  const double one = registry.SearchIndexMany(1, found);
  const double two = registry.SearchIndexMany(2, found);
  const auto database = registry.SearchDatabase(kDatabaseRecords / 3, 3);
  const auto records = static_cast<double>(registry.record_count());
  const auto searched = static_cast<double>(database.library.size());
  std::printf("%10lld %8s %10.0f %8.1f %9s %6.0f %10s %10s %9.0f %9.0f %10s %10s %9lld\n",
              static_cast<long long>(patients), rules.c_str(),
              static_cast<double>(database.rows) / searched,
              static_cast<double>(found.matches) / records, Milliseconds(making).c_str(),
              static_cast<double>(registry.index().Bytes()) / static_cast<double>(patients),
              Milliseconds(Quantile(single, 0.5)).c_str(),
              Milliseconds(Quantile(single, 0.95)).c_str(), 1000 * records / one,
              1000 * records / two, Milliseconds(Sum(database.library) / searched).c_str(),
              Milliseconds(Sum(database.by_hand) / searched).c_str(),
              static_cast<long long>(registry.CountDifferent(kProofRecords / 5)));
  std::fflush(stdout);
}

void PrintGrowth(const Options& options, const std::string& file) {
  std::printf("%10s %8s %10s %8s %9s %6s %10s %10s %9s %9s %10s %10s %9s\n", "patients", "rules",
              "candidates", "matches", "index in", "bytes", "median", "95th", "1 thread",
              "2 threads", "database", "by hand", "differ");
  const MatchRules rules = ReadRules(options.rules);
  for (int count = 2; count <= kMostRules; count *= 2) {
    MatchingRegistry registry(file, FirstRules(rules, count));
    PrintCosts(registry, std::to_string(count));
  }
  if (options.shipped.empty()) return;
  MatchingRegistry registry(file, ReadRules(options.shipped));
  PrintCosts(registry, "shipped");
}

// Figures with a target, each measured beside its peer, in turns.
class Targets {
 public:
  explicit Targets(const Options& options)
      : options_(options),
        registry_((options.folder / "registry.db").string(),
                  FirstRules(ReadRules(options.rules), kTargetRules)),
        sql_(registry_.connection()),
        peer_(options.peer) {
    for (const std::string& statement : sql_.Load(options.folder)) peer_.Ask(statement);
  }

  void Measure() {
    Database();
    Resident();
    Many();
    AgainstAll();
    if (!options_.program.empty()) Program();
  }

 private:
  void Database() {
    const auto costs = registry_.SearchDatabase(kDatabaseRecords, kRounds);
    const auto searched = static_cast<double>(kDatabaseRecords);
    std::cout << static_cast<double>(costs.rows) / searched << " candidates a record" << std::endl;
    const double library = Sum(costs.library);
    const double by_hand = Sum(costs.by_hand);
    PrintFigure({"one record through the database, beside fetching its rows by hand",
                 Milliseconds(library / searched), Milliseconds(by_hand / searched),
                 library / by_hand, 1.1});
    std::cout << "index made in " << Milliseconds(registry_.MakeIndex()) << '\n'
              << registry_.CountDifferent(kProofRecords) << " of " << kProofRecords
              << " records drawn at random answered otherwise in memory than in the database"
              << std::endl;
  }

  void Resident() {
    const auto costs = registry_.SearchIndex(kResidentRecords, kRounds);
    for (const auto& [share, title, target] :
         {std::tuple{0.5, "median", 0.1}, {0.95, "95th percentile", 0.3}}) {
      const double cost = Quantile(costs, share);
      PrintFigure({std::string("one record on the resident index, ms, ") + title,
                   Milliseconds(cost), "", cost, target});
    }
  }

  // The best of a peer: by SQL that scores every pair, and by SQL with a bound.
  struct PeerCosts {
    double plain = kLong;
    double bounded = kLong;
  };

  Found AskPeer(int threads, PeerCosts& costs, const std::function<std::string(bool)>& question) {
    Found found;
    peer_.Ask("SET threads = " + std::to_string(threads));
    for (const bool bounded : {false, true}) {
      const auto answer = peer_.Ask(question(bounded));
      double& cost = bounded ? costs.bounded : costs.plain;
      cost = std::min(cost, std::stod(answer.at(threads == 1 ? 1 : 0)));
      found = {std::stoll(answer.at(2)), std::stoll(answer.at(3))};
    }
    return found;
  }

  void Many() {
    const auto records = static_cast<double>(registry_.record_count());
    for (const int threads : {1, 2}) {
      double ours = kLong;
      PeerCosts peer;
      for (int round = 0; round < kRounds; ++round) {
        ours = std::min(ours, registry_.SearchIndexMany(threads, found_));
        if (round % 2 == 0) {
          peer_found_ = AskPeer(threads, peer, [&](bool bounded) { return sql_.Blocked(bounded); });
        }
      }
      const std::string name = "many records, search alone, " + std::to_string(threads) +
                               (threads == 1 ? " thread" : " threads");
      const std::string rate = PerSecond(1000 * records / ours);
      PrintFigure({name + ", beside SQL", rate, PerSecond(1000 * records / peer.plain),
                   peer.plain / ours, 12, true});
      PrintFigure({name + ", beside SQL with bounds", rate,
                   PerSecond(1000 * records / peer.bounded), peer.bounded / ours, 12, true});
      two_threads_ = peer;
    }
    std::cout << found_.matches << " matches, sum of scores " << found_.scores << "; by SQL "
              << peer_found_.matches << ", " << peer_found_.scores << std::endl;
  }

  void AgainstAll() {
    registry_.MakeIndex(false);
    PeerCosts peer{0, 0};
    for (std::size_t i = 0; i < kAgainstAllRecords; ++i) {
      PeerCosts one;
      for (int round = 0; round < 2; ++round) {
        AskPeer(1, one,
                [&](bool bounded) { return sql_.AgainstAll(registry_.RecordId(i), bounded); });
      }
      peer.plain += one.plain;
      peer.bounded += one.bounded;
    }
    const double cost = Sum(registry_.SearchIndex(kAgainstAllRecords, kRounds));
    const auto records = static_cast<double>(kAgainstAllRecords);
    for (const auto& [title, other] :
         {std::pair{"SQL", peer.plain}, {"SQL with bounds", peer.bounded}}) {
      PrintFigure({std::string("one record against all, no blocking, beside ") + title,
                   Milliseconds(cost / records), Milliseconds(other / records), cost / other, 0.1});
    }
  }

  double RunProgram(const std::string& arguments, const std::string& file) const {
    const std::string command = "'" + options_.program + "' match -d '" + options_.folder.string() +
                                "' --all " + arguments + " > '" +
                                (options_.folder / file).string() + "'";
    const auto start = std::chrono::steady_clock::now();
    if (std::system(command.c_str()) != 0) throw std::runtime_error("failed: " + command);
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
  }

  std::string ReadOutput(const std::string& file) const {
    std::ifstream in(options_.folder / file);
    return {std::istreambuf_iterator<char>(in), {}};
  }

  void Program() {
    double ours = kLong;
    for (int round = 0; round < kRounds; ++round) {
      ours = std::min(ours, RunProgram("", "matches.txt"));
      AskPeer(2, two_threads_, [&](bool bounded) { return sql_.Blocked(bounded); });
    }
    PrintFigure({"qm match --all, the whole process, s", Milliseconds(ours), "", ours / 1000, 6});
    for (const auto& [title, peer] :
         {std::pair{"SQL", two_threads_.plain}, {"SQL with bounds", two_threads_.bounded}}) {
      PrintFigure({std::string("the same, beside the query alone, 2 threads, ") + title,
                   Milliseconds(ours), Milliseconds(peer), ours / peer, 1.5});
    }
    const std::string expected = ReadOutput("matches.txt");
    for (const char* limit : {"512", "32"}) {
      const double cost = RunProgram(std::string("--memory ") + limit, "matches_limited.txt");
      const bool same = !expected.empty() && ReadOutput("matches_limited.txt") == expected;
      PrintFigure({std::string("the same in ") + limit + " MiB: outputs that differ",
                   Milliseconds(cost), "", same ? 0.0 : 1.0, 0});
    }
  }

  const Options& options_;
  MatchingRegistry registry_;
  MatchingSql sql_;
  PeerProcess peer_;
  Found found_{};
  Found peer_found_{};
  PeerCosts two_threads_;
};

Options ParseOptions(const std::vector<std::string>& arguments) {
  Options options;
  for (const std::string& argument : arguments) {
    const std::size_t equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    const std::string value = equals == std::string::npos ? "" : argument.substr(equals + 1);
    if (name == "--rules") {
      options.rules = value;
    } else if (name == "--shipped") {
      options.shipped = value;
    } else if (name == "--qm") {
      options.program = value;
    } else if (name == "--peer") {
      options.peer = value;
    } else {
      options.folder = argument;
    }
  }
  return options;
}

}  // namespace

int Run(const std::vector<std::string>& arguments) {
  const Options options = ParseOptions(arguments);
  if (options.folder.empty() || options.rules.empty()) {
    std::cerr << "matching_benchmark FOLDER --rules=FILE [--shipped=FILE | --peer=COMMAND "
                 "[--qm=PROGRAM]]\n";
    return 2;
  }
  if (options.peer.empty()) {
    PrintGrowth(options, (options.folder / "registry.db").string());
  } else {
    Targets(options).Measure();
  }
  return 0;
}

}  // namespace qm::bench

int main(int argc, char** argv) {
  try {
    return qm::bench::Run({argv + 1, argv + argc});
  } catch (const std::exception& error) {
    std::cerr << "matching_benchmark: " << error.what() << '\n';
    return 1;
  }
}

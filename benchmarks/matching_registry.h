// MatchingRegistry: a generated registry with its incoming records, and a search of each of them,
// in memory, in the database, and by hand through the engine's C interface. All return
// milliseconds: what one thread does in processor time, since other work on the machine would be
// counted otherwise; what several do, by the clock.
#pragma once

#include <qm/connection.h>
#include <qm/match_index.h>
#include <qm/match_rules.h>
#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qm::bench {

/// What a search of many records found, to hold two ways of searching against each other.
struct Found {
  std::int64_t matches = 0;
  std::int64_t scores = 0;
  friend bool operator==(const Found&, const Found&) = default;
};

/// The share-th of the costs, from 0 to 1.
double Quantile(std::vector<double> costs, double share);
double Sum(const std::vector<double>& costs);

class MatchingRegistry {
 public:
  /// Its rules are put into the registry.
  MatchingRegistry(const std::string& file, const MatchRules& rules);
  ~MatchingRegistry();
  MatchingRegistry(const MatchingRegistry&) = delete;
  MatchingRegistry& operator=(const MatchingRegistry&) = delete;

  const std::shared_ptr<Connection>& connection() const { return connection_; }
  std::size_t record_count() const { return records_.size(); }
  std::int32_t RecordId(std::size_t record) const;

  /// Reads the patients into memory, with the blocking rules or without any.
  double MakeIndex(bool blocked = true);
  const MatchIndex& index() const { return *index_; }

  /// The first so many records, one after the other, each the best of all rounds.
  std::vector<double> SearchIndex(std::size_t count, int rounds) const;
  /// All records by so many threads.
  double SearchIndexMany(int threads, Found& found) const;

  struct DatabaseCosts {
    std::vector<double> library;
    std::vector<double> by_hand;  ///< the same statements, each row's columns read, no more
    std::int64_t rows = 0;
  };
  DatabaseCosts SearchDatabase(std::size_t count, int rounds);

  /// How many of so many records, drawn at random, the index answers otherwise than the search in
  /// the database.
  std::int64_t CountDifferent(std::size_t count) const;

 private:
  using Record = std::vector<std::pair<std::string, std::string>>;

  std::vector<Match> Search(const Record& record) const;
  std::int64_t FetchByHand(const std::string& statement) const;

  std::shared_ptr<Connection> connection_;
  sqlite3* database_ = nullptr;
  std::vector<Record> records_;
  std::optional<MatchIndex> index_;
};

}  // namespace qm::bench

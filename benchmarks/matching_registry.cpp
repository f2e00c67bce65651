#include "benchmarks/matching_registry.h"

#include <benchmark/benchmark.h>
#include <qm/conversions.h>
#include <qm/matcher.h>

#include <algorithm>
#include <atomic>
#include <ctime>
#include <numeric>
#include <random>
#include <stdexcept>
#include <string_view>
#include <thread>

#include "matching/candidate_search.h"

namespace qm::bench {

namespace {

// What rules read of a record, after its key.
constexpr const char* kRecords =
    "SELECT AbsRefID, LastName, FirstName, MiddleName, Sex, Race1, BirthDate, SocSec FROM "
    "Abstracts ORDER BY AbsRefID";

template <typename Work>
double Time(Work work, clockid_t clock = CLOCK_THREAD_CPUTIME_ID) {
  const auto now = [clock] {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
  };
  const double start = now();
  work();
  return now() - start;
}

CandidateOptions SearchOptions() {
  CandidateOptions options;
  options.escape_quotes = true;
  options.ties = TieOrder::kPatientId;
  return options;
}

std::shared_ptr<Recordset> OpenRecords(const std::shared_ptr<Connection>& connection,
                                       const std::string& condition) {
  auto rows = connection->CreateRecordset();
  rows->Open("SELECT * FROM Abstracts " + condition, connection);
  return rows;
}

}  // namespace

double Quantile(std::vector<double> costs, double share) {
  std::ranges::sort(costs);
  return costs.at(static_cast<std::size_t>(share * static_cast<double>(costs.size() - 1)));
}

double Sum(const std::vector<double>& costs) {
  return std::accumulate(costs.begin(), costs.end(), 0.0);
}

MatchingRegistry::MatchingRegistry(const std::string& file, const MatchRules& rules)
    : connection_(Connection::Create()) {
  connection_->Open("Provider=SQLite;Data Source=" + file);
  ReplaceMatchRules(connection_, rules);
  Matcher().ReadMatchingParams(connection_->ConnectionString());
  const auto rows = connection_->Execute(kRecords);
  for (const Recordset& row : rows->Rows()) {
    Record& record = records_.emplace_back();
    for (int i = 0; i < row.FieldCount(); ++i) {
      record.emplace_back(row.FieldName(i), ToTextOrEmpty(row.Value(i)));
    }
  }
  if (sqlite3_open(file.c_str(), &database_) != SQLITE_OK) {
    throw std::runtime_error("cannot open " + file);
  }
}

MatchingRegistry::~MatchingRegistry() { sqlite3_close(database_); }

std::int32_t MatchingRegistry::RecordId(std::size_t record) const {
  return std::stoi(records_.at(record).front().second);
}

double MatchingRegistry::MakeIndex(bool blocked) {
  index_.reset();
  const auto make = [&] { return Time([&] { index_.emplace(connection_); }, CLOCK_MONOTONIC); };
  if (blocked) return make();
  const Transaction transaction(connection_);  // rolled back
  connection_->Execute("DELETE FROM tblBlockingParameters");
  return make();
}

std::vector<Match> MatchingRegistry::Search(const Record& record) const {
  return index_->Search([&](std::string_view name) {
    for (const auto& [field, value] : record) {
      if (field == name) return value;
    }
    throw std::runtime_error("the rules read more than was read of the records");
  });
}

std::vector<double> MatchingRegistry::SearchIndex(std::size_t count, int rounds) const {
  std::vector<double> best(std::min(count, records_.size()), 1e9);
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < best.size(); ++i) {
      best[i] = std::min(best[i], Time([&] { Search(records_[i]); }));
    }
  }
  return best;
}

double MatchingRegistry::SearchIndexMany(int threads, Found& found) const {
  std::atomic<std::size_t> next{0};
  std::atomic<std::int64_t> matches{0};
  std::atomic<std::int64_t> scores{0};
  const auto search = [&] {
    std::vector<std::jthread> workers;
    for (int i = 0; i < threads; ++i) {
      workers.emplace_back([&] {
        Found mine;
        for (std::size_t r; (r = next++) < records_.size();) {
          for (const Match& match : Search(records_[r])) {
            ++mine.matches;
            mine.scores += match.score;
          }
        }
        matches += mine.matches;
        scores += mine.scores;
      });
    }
  };
  const double cost = Time(search, threads == 1 ? CLOCK_PROCESS_CPUTIME_ID : CLOCK_MONOTONIC);
  found = {matches, scores};
  return cost;
}

// Prepares the statement, reads every column of every row where the engine holds it, and counts.
std::int64_t MatchingRegistry::FetchByHand(const std::string& query) const {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(database_, query.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
    throw std::runtime_error(sqlite3_errmsg(database_));
  }
  const int columns = sqlite3_column_count(statement);
  std::int64_t rows = 0;
  std::int64_t bytes = 0;
  for (; sqlite3_step(statement) == SQLITE_ROW; ++rows) {
    for (int i = 0; i < columns; ++i) {
      if (sqlite3_column_type(statement, i) == SQLITE_INTEGER) {
        bytes += sqlite3_column_int64(statement, i) == 0 ? 0 : 1;
      } else if (sqlite3_column_text(statement, i) != nullptr) {
        bytes += sqlite3_column_bytes(statement, i);
      }
    }
  }
  sqlite3_finalize(statement);
  benchmark::DoNotOptimize(bytes);
  return rows;
}

MatchingRegistry::DatabaseCosts MatchingRegistry::SearchDatabase(std::size_t count, int rounds) {
  DatabaseCosts costs;
  costs.library.assign(count, 1e9);
  costs.by_hand.assign(count, 1e9);
  const CandidateOptions options = SearchOptions();
  std::vector<std::string> statements;
  const auto rows = OpenRecords(connection_, "ORDER BY AbsRefID LIMIT " + std::to_string(count));
  for (std::size_t i = 0; !rows->Eof(); rows->MoveNext(), ++i) {
    statements.clear();
    connection_->SetStatementObserver(
        [&](std::string_view text) { statements.emplace_back(text); });
    FindCandidates(connection_, *rows, options);
    connection_->SetStatementObserver({});
    std::int64_t fetched = 0;
    for (int round = 0; round < rounds; ++round) {
      const double by_hand = Time([&] {
        for (const std::string& statement : statements) fetched = FetchByHand(statement);
      });
      const double library = Time([&] { FindCandidates(connection_, *rows, options); });
      costs.by_hand[i] = std::min(costs.by_hand[i], by_hand);
      costs.library[i] = std::min(costs.library[i], library);
    }
    costs.rows += fetched;
  }
  return costs;
}

std::int64_t MatchingRegistry::CountDifferent(std::size_t count) const {
  std::mt19937 random(20261121);
  std::string keys;
  for (std::size_t i = 0; i < count; ++i) {
    keys += (i == 0 ? "" : ", ") + std::to_string(RecordId(random() % records_.size()));
  }
  std::int64_t different = 0;
  const auto rows = OpenRecords(connection_, "WHERE AbsRefID IN (" + keys + ")");
  for (const Recordset& row : rows->Rows()) {
    std::vector<Match> expected;
    for (const Candidate& candidate : FindCandidates(connection_, row, SearchOptions())) {
      expected.push_back(candidate.match);
    }
    different += index_->Search(row) == expected ? 0 : 1;
  }
  return different;
}

}  // namespace qm::bench

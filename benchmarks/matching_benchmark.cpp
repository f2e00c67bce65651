// What matching costs in a registry that is there: one record and many, in memory and in the
// database, and a proof that both find the same.
//
//   matching_benchmark REGISTRY.db [RECORDS-OF-THE-PROOF]
#include <qm/conversions.h>
#include <qm/match_index.h>
#include <qm/qm_connection.h>
#include <sqlite3.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "matching/candidate_search.h"

namespace qm::bench {

namespace {

using Clock = std::chrono::steady_clock;
using Record = std::unordered_map<std::string, std::string>;

template <typename Work>
double Milliseconds(Work work) {
  const auto start = Clock::now();
  work();
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double Quantile(std::vector<double> costs, double share) {
  std::ranges::sort(costs);
  return costs[static_cast<std::size_t>(share * static_cast<double>(costs.size() - 1))];
}

void Print(const std::string& name, double figure, const char* unit) {
  std::printf("%-58s %12.3f %s\n", name.c_str(), figure, unit);
}

std::shared_ptr<Connection> OpenRegistry(const std::string& file) {
  auto connection = Connection::Create();
  connection->Open("Provider=SQLite;Data Source=" + file);
  return connection;
}

// The columns that the shipped rules read.
std::vector<Record> ReadRecords(const std::shared_ptr<Connection>& registry) {
  const auto rows = registry->Execute(
      "SELECT AbsRefID, LastName, FirstName, MiddleName, Sex, Race1, BirthDate, SocSec FROM "
      "Abstracts ORDER BY AbsRefID");
  std::vector<Record> records;
  for (const Recordset& row : rows->Rows()) {
    Record& record = records.emplace_back();
    for (int i = 0; i < row.FieldCount(); ++i) {
      record[row.FieldName(i)] = ToTextOrEmpty(row.Value(i));
    }
  }
  return records;
}

std::vector<Match> Search(const MatchIndex& index, const Record& record) {
  return index.Search([&](std::string_view name) { return record.at(std::string(name)); });
}

void MeasureSingle(const MatchIndex& index, const std::vector<Record>& records,
                   const std::string& name, std::size_t count) {
  std::vector<double> costs;
  for (std::size_t i = 0; i < std::min(count, records.size()); ++i) {
    costs.push_back(Milliseconds([&] { Search(index, records[i]); }));
  }
  Print(name + ", median", Quantile(costs, 0.5), "ms");
  Print(name + ", 95th percentile", Quantile(costs, 0.95), "ms");
}

void MeasureMany(const MatchIndex& index, const std::vector<Record>& records, int threads) {
  std::atomic<std::size_t> next{0};
  const double cost = Milliseconds([&] {
    std::vector<std::jthread> workers;
    for (int i = 0; i < threads; ++i) {
      workers.emplace_back([&] {
        for (std::size_t r; (r = next++) < records.size();) Search(index, records[r]);
      });
    }
  });
  Print("many records in memory, " + std::to_string(threads) + " thread(s)",
        1000 * static_cast<double>(records.size()) / cost, "records/s");
}

// Fetching by hand what a search's statement gives.
double FetchByHand(sqlite3* database, const std::string& query) {
  return Milliseconds([&] {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database, query.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
      throw std::runtime_error(sqlite3_errmsg(database));
    }
    std::size_t bytes = 0;
    while (sqlite3_step(statement) == SQLITE_ROW) {
      for (int i = 0; i < sqlite3_column_count(statement); ++i) {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, i));
        bytes += text == nullptr ? 0 : std::string_view(text).size();
      }
    }
    if (bytes == 1) std::cout << ' ';
    sqlite3_finalize(statement);
  });
}

void MeasureDatabase(const std::shared_ptr<Connection>& registry, const std::string& file,
                     std::size_t count) {
  sqlite3* database = nullptr;
  if (sqlite3_open(file.c_str(), &database) != SQLITE_OK) throw std::runtime_error("cannot open");
  std::string query;
  registry->SetStatementObserver([&](std::string_view text) {
    if (text.find("from Patients") != std::string_view::npos) query = text;
  });
  CandidateOptions options;
  options.escape_quotes = true;
  options.ties = TieOrder::kPatientId;
  const auto rows = registry->CreateRecordset();
  rows->SetMaxRecords(static_cast<std::int64_t>(count));
  rows->Open("SELECT * FROM Abstracts ORDER BY AbsRefID", registry);
  std::vector<double> ours;
  std::vector<double> by_hand;
  for (const Recordset& row : rows->Rows()) {
    FindCandidates(registry, row, options);
    by_hand.push_back(FetchByHand(database, query));
    ours.push_back(Milliseconds([&] { FindCandidates(registry, row, options); }));
  }
  registry->SetStatementObserver({});
  sqlite3_close(database);
  Print("one record in the database, median", Quantile(ours, 0.5), "ms");
  Print("its candidates fetched by hand, median", Quantile(by_hand, 0.5), "ms");
  Print("ratio", Quantile(ours, 0.5) / Quantile(by_hand, 0.5), "");
}

void Prove(const std::shared_ptr<Connection>& registry, const MatchIndex& index,
           std::int64_t count) {
  CandidateOptions options;
  options.escape_quotes = true;
  options.ties = TieOrder::kPatientId;
  const auto rows = registry->CreateRecordset();
  rows->SetMaxRecords(count);
  rows->Open("SELECT * FROM Abstracts ORDER BY AbsRefID", registry);
  std::int64_t proved = 0;
  std::int64_t pairs = 0;
  for (const Recordset& row : rows->Rows()) {
    std::vector<Match> expected;
    for (const Candidate& each : FindCandidates(registry, row, options)) {
      expected.push_back(each.match);
    }
    if (index.Search(row) != expected) throw std::runtime_error("the searches do not agree");
    ++proved;
    pairs += static_cast<std::int64_t>(expected.size());
  }
  Print("records for which memory and database agree", static_cast<double>(proved), "");
  Print("their matches", static_cast<double>(pairs), "");
}

void Run(const std::string& file, std::int64_t proof) {
  const auto registry = OpenRegistry(file);
  Matcher().ReadMatchingParams(registry->ConnectionString());
  const auto records = ReadRecords(registry);
  std::optional<MatchIndex> index;
  Print("making the index", Milliseconds([&] { index.emplace(registry); }), "ms");
  const auto patients = static_cast<double>(index->PatientCount());
  Print("patients", patients, "");
  Print("memory a patient", static_cast<double>(index->Bytes()) / patients, "bytes");
  MeasureSingle(*index, records, "one record in memory", 2000);
  for (const int threads : {1, 2}) MeasureMany(*index, records, threads);
  MeasureDatabase(registry, file, 200);
  Prove(registry, *index, proof);

  // Without blocking: the rules are put back, whatever happens.
  registry->BeginTrans();
  registry->Execute("DELETE FROM tblBlockingParameters");
  index.emplace(registry);
  MeasureSingle(*index, records, "one record against all, in memory", 50);
  registry->RollbackTrans();
}

}  // namespace

}  // namespace qm::bench

int main(int argc, char** argv) {
  try {
    if (argc < 2) {
      std::cerr << "matching_benchmark REGISTRY.db [RECORDS-OF-THE-PROOF]\n";
      return 2;
    }
    qm::bench::Run(argv[1], argc > 2 ? std::stoll(argv[2]) : 500);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "matching_benchmark: " << error.what() << '\n';
    return 1;
  }
}

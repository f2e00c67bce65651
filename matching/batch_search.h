// BatchSearch: the search of many records at once, by several threads, in an index of the patients
// that is made for it: of all of them, or, where that would take more memory than is allowed, of
// one partition after the other. What it finds is what `FindCandidates` finds for each record,
// ordered by score and `PatientID`, whatever the memory and the threads.
//
// The constructor refuses (3251) what the index refuses, before a record is read; in partitions, a
// later one may be refused by `Run`, after records were told. Cost: the patients are read once; in
// partitions, once for every so many records that their candidates fit: in a quarter of the memory,
// or 256 MiB without a limit.
#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include <qm/connection.h>
#include <qm/match_index.h>
#include <qm/recordset.h>

#include "matching/candidate_index.h"
#include "matching/candidate_search.h"
#include "matching/index_search.h"

namespace qm {

struct BatchOptions {
  CandidateOptions candidates{};     ///< cut-off, explanation and names
  std::int64_t memory = 0;           ///< bytes; 0 without limit
  int threads = 0;                   ///< 0: one a core
  std::vector<std::string> shown{};  ///< columns of the records that are told with each
  bool in_place = true;              ///< the callbacks leave the connection alone
  MatchIndexProgress reading{};      ///< patients
  MatchIndexProgress searching{};    ///< records of those taken together
};

class BatchSearch {
 public:
  /// One record, when its turn has come.
  class Record {
   public:
    /// The texts of `shown`.
    std::span<const std::string> Shown() const;
    /// Its candidates; an error of its evaluation, if there was one, is raised here.
    const std::vector<Candidate>& Candidates() const;

   private:
    friend class BatchSearch;
    std::vector<std::string> texts_;
    std::size_t shown_ = 0;
    std::vector<Candidate> candidates_;
    std::exception_ptr error_;
    std::string rule_in_work_;
  };

  BatchSearch(std::shared_ptr<Connection> connection, BatchOptions options);
  ~BatchSearch();
  BatchSearch(const BatchSearch&) = delete;
  BatchSearch& operator=(const BatchSearch&) = delete;

  /// From the current row to the end; tells each record in that order.
  void Run(Recordset& abstracts, const std::function<void(const Record& record)>& tell);

 private:
  bool ReadRecords(Recordset& abstracts, std::vector<Record>& records);
  void NameFields(const Recordset& abstracts);
  void ReadPartition();
  std::size_t SearchPartitions(std::span<Record> records);
  std::size_t SearchPartition(std::span<Record> records);
  void SearchOne(IndexSearch& search, Record& record) const;

  std::shared_ptr<Connection> connection_;
  BatchOptions options_;
  IndexRules rules_;
  PatientReader reader_;
  std::unique_ptr<CandidateIndex> index_;
  bool first_is_read_ = false;       // the index holds the first partition
  bool more_ = false;                // there are patients behind what the index holds
  std::vector<std::string> fields_;  // what the rules read of a record, behind what is shown
  std::vector<int> ordinals_;        // of both
};

}  // namespace qm

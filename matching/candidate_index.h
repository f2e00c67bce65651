// CandidateIndex: the patients of a registry, or a partition of them, with the rules: what
// `IndexSearch` searches. `PatientReader` reads them from the database.
//
// Order of calls: a reader, then `Read` into an index until it says that nothing is left. The
// calling thread's comparison rules are those of the moment when the index is made.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <qm/connection.h>
#include <qm/match_index.h>
#include <qm/recordset.h>

#include "dataaccess/text_rows.h"
#include "matching/index_rules.h"
#include "matching/patient_rows.h"
#include "matching/row_marks.h"

namespace qm {

class CandidateIndex {
 public:
  explicit CandidateIndex(const IndexRules& rules_read)
      : rules(rules_read),
        rows(rules.columns(), rules.BlockingColumns()),
        tried(rules.columns().size()) {}

  std::size_t Bytes() const { return rules.Bytes() + rows.Bytes() + marks.Bytes(); }

  IndexRules rules;
  PatientRows rows;
  RowMarks marks;
  /// What of the engine's comparison is known to be binary, by column: it shows with values only.
  enum class Tried : std::uint8_t { kNothing, kBlanks, kOtherLetters, kLetters };
  std::vector<Tried> tried;
};

class PatientReader {
 public:
  PatientReader(std::shared_ptr<Connection> connection, const IndexRules& rules);

  /// All patients anew, for indexes that take so many bytes each (0: one for all, without end).
  /// Read in place, the connection is neither closed nor written to before `Read` has told the end.
  void Open(std::int64_t memory, bool in_place);
  /// Reads on into an empty index, until it is full, and makes it ready; gives whether patients are
  /// left. 3251 when blocking in memory might not find what the engine finds: a blocking column
  /// holds other values than text, or is not compared binary.
  bool Read(CandidateIndex& index, int threads, const MatchIndexProgress& progress);
  /// Reads a patient anew into an index that is ready; refused as by `Read`, it stays as it was.
  void Refresh(CandidateIndex& index, std::int32_t patient_id);

 private:
  std::string Query(const std::string& condition) const;
  void CheckNoBinary(const std::string& condition) const;
  void TryComparisons(CandidateIndex& index) const;
  void TryComparison(CandidateIndex& index, std::size_t column, std::int32_t patient_id,
                     std::string_view value) const;
  std::int64_t Count(const std::string& condition) const;
  void NextPatient();
  void MakeReady(CandidateIndex& index, int threads) const;
  std::int32_t TakeRow(const RowTexts& row);

  std::shared_ptr<Connection> connection_;
  std::vector<std::string> columns_;
  std::vector<bool> blocking_;
  std::int64_t memory_ = 0;
  std::unique_ptr<TextRows> in_place_;  // or the recordset, which bears other work meanwhile
  bool has_patient_ = false;
  std::shared_ptr<Recordset> patients_;
  std::unique_ptr<RecordsetTexts> patient_;
  std::int64_t total_ = 0;
  std::int64_t done_ = 0;
  std::vector<std::optional<std::string_view>> values_;
};

}  // namespace qm

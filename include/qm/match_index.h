// MatchIndex: the patients of a registry in memory, as far as matching reads them, so that the
// search of one record takes a fraction of a millisecond and that of many uses every core.
//
//   matcher.ReadMatchingParams(connection->ConnectionString());
//   qm::MatchIndex index(connection);
//   for (const qm::Match& match : index.Search(*abstract.Recordset(1))) …
//   index.Refresh(connection, patient_id);   // after a patient was added, changed or removed
//
// It takes the comparison rules and the cut-off of the thread that makes it, and the blocking rules
// and patients of the connection, and keeps them: later changes of the rules need a new index. A
// search finds what the one in the database finds, with the same scores, ordered by score, then by
// `PatientID`. Quotes in values are escaped, so that O'BRIEN is found.
//
// Cost: making it reads every patient once, a second or two a million, and sorts them by the
// broadest blocking column; about 100 bytes a patient, each distinct value held once. A search
// passes over a candidate in about a nanosecond where rules of plain equality tell that it cannot
// reach the cut-off, weighs it in some tens where they do not, and scores only those that can still
// reach it. With a rule that reads several columns, or the
// clock, or that fails for some patient, every candidate is scored.
//
// Many threads may search at once; a refresh waits for them, and later searches for it. It refuses
// (3251) blocking columns that are no plain column of the patients, hold other values than text, or
// are not compared binary, and a `PatientID` that is no 32-bit number; so does a refresh, which
// then leaves that patient as it was.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <qm/api.h>
#include <qm/connection.h>
#include <qm/matcher.h>
#include <qm/recordset.h>

namespace qm {

/// How many of all patients were read, or of all records searched.
using MatchIndexProgress = std::function<void(std::int64_t done, std::int64_t total)>;

class QM_API MatchIndex {
 public:
  explicit MatchIndex(const std::shared_ptr<Connection>& connection,
                      const MatchIndexProgress& progress = {});
  ~MatchIndex();
  MatchIndex(MatchIndex&&) noexcept;
  MatchIndex& operator=(MatchIndex&&) noexcept;

  /// The patients at or above the cut-off, best first; `cutoff` in place of the kept one. The
  /// recordset stands on the abstract's row. Errors are those of the rules' scripts.
  std::vector<Match> Search(const Recordset& abstract,
                            std::optional<std::int16_t> cutoff = {}) const;
  /// The same for a record that is in no recordset: `field` gives the text of a field by name,
  /// empty for Null, and raises 3265 for one that it lacks.
  std::vector<Match> Search(const std::function<std::string(std::string_view name)>& field,
                            std::optional<std::int16_t> cutoff = {}) const;

  /// Reads these patients anew; those that are gone are taken out.
  void Refresh(const std::shared_ptr<Connection>& connection,
               std::span<const std::int32_t> patient_ids);
  void Refresh(const std::shared_ptr<Connection>& connection, std::int32_t patient_id);

  std::int64_t PatientCount() const;
  /// What it holds in memory, about.
  std::int64_t Bytes() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

struct MatchManyOptions {
  std::optional<std::int16_t> cutoff{};  ///< instead of the calling thread's
  /// Bytes that the index may take; a larger registry is gone through in partitions, with the same
  /// results. 0: no limit.
  std::int64_t memory = 0;
  int threads = 0;  ///< 0: one a core
  MatchIndexProgress progress{};
};

/// Searches for each row of `abstracts`, from the current one to the end, and tells the matches in
/// that order, each row's by its place from 0. Refusals are those of the index, before a record is
/// told; in partitions also later. Cost: the patients are read once, or once for every so many
/// records that their matches fit the limit.
QM_API void MatchMany(
    const std::shared_ptr<Connection>& connection, Recordset& abstracts,
    const std::function<void(std::int64_t place, std::span<const Match> matches)>& found,
    const MatchManyOptions& options = {});

}  // namespace qm

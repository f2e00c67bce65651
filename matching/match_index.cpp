#include <qm/match_index.h>

#include <mutex>
#include <shared_mutex>
#include <thread>
#include <utility>

#include <qm/conversions.h>
#include <qm/error.h>

#include "matching/candidate_index.h"
#include "matching/index_search.h"

namespace qm {

struct MatchIndex::State {
  explicit State(const std::shared_ptr<Connection>& connection) : index(IndexRules(connection)) {}

  // A search of its own for each thread that searches at the time; given back, it serves the next.
  std::unique_ptr<IndexSearch> TakeSearch() {
    const std::scoped_lock lock(idle_mutex);
    if (idle.empty()) return std::make_unique<IndexSearch>(index.rows, index.rules, index.marks);
    auto search = std::move(idle.back());
    idle.pop_back();
    return search;
  }
  void GiveBack(std::unique_ptr<IndexSearch> search) {
    const std::scoped_lock lock(idle_mutex);
    idle.push_back(std::move(search));
  }

  // A reader waits for whoever has the turn: searches without end would keep a refresh waiting.
  std::shared_lock<std::shared_mutex> LockForReading() {
    const std::scoped_lock wait(turn);
    return std::shared_lock(mutex);
  }
  std::unique_lock<std::shared_mutex> LockForWriting() {
    const std::scoped_lock wait(turn);
    return std::unique_lock(mutex);
  }

  CandidateIndex index;
  std::mutex turn;
  std::shared_mutex mutex;
  std::mutex idle_mutex;
  std::vector<std::unique_ptr<IndexSearch>> idle;
};

MatchIndex::MatchIndex(const std::shared_ptr<Connection>& connection,
                       const MatchIndexProgress& progress)
    : state_(std::make_unique<State>(connection)) {
  PatientReader reader(connection, state_->index.rules);
  reader.Open(0, !progress);
  reader.Read(state_->index, static_cast<int>(std::thread::hardware_concurrency()), progress);
}

MatchIndex::~MatchIndex() = default;
MatchIndex::MatchIndex(MatchIndex&&) noexcept = default;
MatchIndex& MatchIndex::operator=(MatchIndex&&) noexcept = default;

std::vector<Match> MatchIndex::Search(const std::function<std::string(std::string_view)>& field,
                                      std::optional<std::int16_t> cutoff) const {
  CandidateOptions options;
  options.cutoff = cutoff;
  options.names = false;
  const auto lock = state_->LockForReading();
  auto search = state_->TakeSearch();
  std::vector<Candidate> found = search->Search(field, options);
  state_->GiveBack(std::move(search));
  SortCandidates(found);
  std::vector<Match> matches;
  matches.reserve(found.size());
  for (const Candidate& candidate : found) matches.push_back(candidate.match);
  return matches;
}

std::vector<Match> MatchIndex::Search(const Recordset& abstract,
                                      std::optional<std::int16_t> cutoff) const {
  const auto field = [&](std::string_view name) {
    const int ordinal = abstract.FieldOrdinal(name);
    if (ordinal < 0) RaiseNoSuchField(name, LastRule());
    return ToTextOrEmpty(abstract.Value(ordinal));
  };
  return Search(field, cutoff);
}

void MatchIndex::Refresh(const std::shared_ptr<Connection>& connection,
                         std::span<const std::int32_t> patient_ids) {
  const auto lock = state_->LockForWriting();
  PatientReader reader(connection, state_->index.rules);
  for (const std::int32_t id : patient_ids) reader.Refresh(state_->index, id);
}

void MatchIndex::Refresh(const std::shared_ptr<Connection>& connection, std::int32_t patient_id) {
  Refresh(connection, std::span(&patient_id, 1));
}

std::int64_t MatchIndex::PatientCount() const {
  const auto lock = state_->LockForReading();
  return static_cast<std::int64_t>(state_->index.rows.patient_count());
}

std::int64_t MatchIndex::Bytes() const {
  const auto lock = state_->LockForReading();
  return static_cast<std::int64_t>(state_->index.Bytes());
}

}  // namespace qm

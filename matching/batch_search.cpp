#include "matching/batch_search.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>
#include <utility>

#include <qm/conversions.h>
#include <qm/error.h>

#include "comparison/comparison_library.h"
#include "matching/matching_state.h"
#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::size_t kMostRecords = 65536;
constexpr std::int64_t kMostTextBytes = std::int64_t{64} << 20U;
// What candidates are kept at a time take so many bytes, unless another limit was asked for.
constexpr std::int64_t kMostCandidateBytes = std::int64_t{256} << 20U;

int ThreadsFor(int wanted) {
  // Nothing is known of a library's threads.
  if (FindComparisonLibrary() != nullptr) return 1;
  return wanted > 0 ? wanted : std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

std::int64_t BytesOf(const Candidate& candidate) {
  return static_cast<std::int64_t>(sizeof(Candidate) + candidate.lastname.size() +
                                   candidate.firstname.size() + candidate.middlename.size() +
                                   candidate.rules.size() * (sizeof(RuleScore) + 64));
}

}  // namespace

std::span<const std::string> BatchSearch::Record::Shown() const {
  return std::span(texts_).first(shown_);
}

const std::vector<Candidate>& BatchSearch::Record::Candidates() const {
  if (error_) {
    CurrentMatching().rule_in_work = rule_in_work_;
    std::rethrow_exception(error_);
  }
  return candidates_;
}

BatchSearch::BatchSearch(std::shared_ptr<Connection> connection, BatchOptions options)
    : connection_(std::move(connection)),
      options_(std::move(options)),
      rules_(connection_),
      reader_(connection_, rules_) {
  options_.threads = ThreadsFor(options_.threads);
  ReadPartition();
}

BatchSearch::~BatchSearch() = default;

// The first one when the last was read.
void BatchSearch::ReadPartition() {
  first_is_read_ = !more_;
  if (!more_) reader_.Open(options_.memory, options_.in_place);
  index_.reset();
  index_ = std::make_unique<CandidateIndex>(rules_);
  more_ = reader_.Read(*index_, options_.threads, options_.reading);
}

void BatchSearch::NameFields(const Recordset& abstracts) {
  bool all = false;
  const auto add = [&](const RuleExpression& expression) {
    all = all || expression.IsRewritten();
    for (const std::string& name : expression.fields()) {
      if (std::ranges::find(fields_, name) == fields_.end()) fields_.push_back(name);
    }
  };
  for (const IndexBlock& block : rules_.blocks()) add(block.abstract_field);
  for (const IndexRule& rule : rules_.rules()) add(rule.expression);
  // Rewriting may read any.
  for (int i = 0; all && i < abstracts.FieldCount(); ++i) {
    fields_.push_back(abstracts.FieldName(i));
  }
  for (const std::string& name : options_.shown) ordinals_.push_back(abstracts.FieldOrdinal(name));
  for (const std::string& name : fields_) ordinals_.push_back(abstracts.FieldOrdinal(name));
}

bool BatchSearch::ReadRecords(Recordset& abstracts, std::vector<Record>& records) {
  records.clear();
  std::int64_t bytes = 0;
  for (; !abstracts.Eof() && records.size() < kMostRecords && bytes < kMostTextBytes;
       abstracts.MoveNext()) {
    Record& record = records.emplace_back();
    record.shown_ = options_.shown.size();
    record.texts_.reserve(ordinals_.size());
    for (const int ordinal : ordinals_) {
      record.texts_.push_back(ordinal < 0 ? "" : ToTextOrEmpty(abstracts.Value(ordinal)));
      bytes += static_cast<std::int64_t>(sizeof(std::string) + record.texts_.back().size());
    }
  }
  return !records.empty();
}

void BatchSearch::SearchOne(IndexSearch& search, Record& record) const {
  const auto field = [&](std::string_view name) {
    for (std::size_t i = 0; i < fields_.size(); ++i) {
      if (ordinals_[record.shown_ + i] >= 0 && EqualsIgnoreCase(fields_[i], name)) {
        return record.texts_[record.shown_ + i];
      }
    }
    RaiseNoSuchField(name, LastRule());
  };
  try {
    const auto& found = search.Search(field, options_.candidates);
    record.candidates_.insert(record.candidates_.end(), found.begin(), found.end());
  } catch (const Error&) {
    record.error_ = std::current_exception();
    record.rule_in_work_ = LastRule();
  }
}

// How many were searched when their candidates took more memory than is allowed; all as a rule.
std::size_t BatchSearch::SearchPartition(std::span<Record> records) {
  std::atomic<std::size_t> next{0};
  std::atomic<std::size_t> searched{0};
  std::atomic<std::int64_t> bytes{0};
  std::atomic<bool> stops{false};
  std::mutex error_mutex;
  std::exception_ptr error;
  const std::int64_t room = options_.memory == 0 ? kMostCandidateBytes : options_.memory / 4;
  const auto search_some = [&](const MatchIndexProgress& progress) {
    IndexSearch search(index_->rows, index_->rules, index_->marks);
    for (std::size_t i; !stops && (i = next++) < records.size();) {
      if (!records[i].error_) SearchOne(search, records[i]);
      std::int64_t added = 0;
      for (const Candidate& candidate : records[i].candidates_) added += BytesOf(candidate);
      ++searched;
      if ((bytes += added) > room) stops = true;
      if (progress) {
        progress(static_cast<std::int64_t>(i), static_cast<std::int64_t>(records.size()));
      }
    }
  };
  const auto work = [&](const MatchIndexProgress& progress) {
    try {
      search_some(progress);
    } catch (...) {
      stops = true;
      const std::scoped_lock lock(error_mutex);
      error = std::current_exception();
    }
  };
  {
    std::vector<std::jthread> others;
    const int wanted = std::min(options_.threads, static_cast<int>(records.size() / 8) + 1);
    for (int i = 1; i < wanted; ++i) others.emplace_back([&] { work({}); });
    work(options_.searching);
  }
  if (error) std::rethrow_exception(error);
  return searched;
}

// As `SearchPartition`.
std::size_t BatchSearch::SearchPartitions(std::span<Record> records) {
  for (Record& record : records) record.candidates_ = {};
  if (!first_is_read_) {
    more_ = false;
    ReadPartition();
  }
  for (;;) {
    const std::size_t searched = SearchPartition(records);
    if (searched < records.size()) {
      for (Record& record : records) record.candidates_ = {};
      return searched;
    }
    if (!more_) break;
    ReadPartition();
  }
  for (Record& record : records) SortCandidates(record.candidates_);
  return records.size();
}

void BatchSearch::Run(Recordset& abstracts, const std::function<void(const Record& record)>& tell) {
  if (ordinals_.empty()) NameFields(abstracts);
  std::size_t at_once = kMostRecords;
  for (std::vector<Record> records; ReadRecords(abstracts, records);) {
    for (std::size_t from = 0; from < records.size();) {
      const auto some = std::span(records).subspan(from, std::min(at_once, records.size() - from));
      const std::size_t searched = SearchPartitions(some);
      if (searched < some.size()) {
        at_once = std::max<std::size_t>(1, std::min(some.size() / 2, searched - searched / 4));
        continue;
      }
      for (Record& record : some) {
        tell(record);
        record = {};
      }
      from += some.size();
    }
  }
}

void MatchMany(const std::shared_ptr<Connection>& connection, Recordset& abstracts,
               const std::function<void(std::int64_t, std::span<const Match>)>& found,
               const MatchManyOptions& options) {
  BatchOptions batch;
  batch.candidates.cutoff = options.cutoff;
  batch.candidates.names = false;
  batch.memory = options.memory;
  batch.threads = options.threads;
  batch.reading = batch.searching = options.progress;
  batch.in_place = !options.progress && options.memory == 0;
  std::int64_t place = 0;
  std::vector<Match> matches;
  BatchSearch(connection, std::move(batch)).Run(abstracts, [&](const BatchSearch::Record& record) {
    matches.clear();
    for (const Candidate& candidate : record.Candidates()) matches.push_back(candidate.match);
    found(place++, matches);
  });
}

}  // namespace qm

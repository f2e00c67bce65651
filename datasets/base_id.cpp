#include "datasets/base_id.h"

#include <chrono>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>

#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/hooks.h>
#include <qm/recordset.h>

#include "dataaccess/connection_impl.h"
#include "dataaccess/data_error.h"
#include "session/session_state.h"

namespace qm {

namespace {

constexpr std::chrono::milliseconds kPause(500);
constexpr int kLastSilentRetry = 5;

// Continue-on-error mode: a step that fails is remembered, and the next one runs all the same.
class ErrorState {
 public:
  template <typename Step>
  void Run(Step&& step) {
    try {
      step();
    } catch (const Error& failure) {
      last_ = failure;
      if (IsConnectionLost(failure)) lost_ = failure;
    }
  }
  void Clear() {
    last_.reset();
    lost_.reset();
  }
  bool Failed() const { return last_.has_value(); }
  /// The failure that says that the connection is gone, also when others came behind it.
  const std::optional<Error>& Lost() const { return lost_; }
  std::string Text() const {
    return last_ ? last_->description() + ("(" + std::to_string(last_->number()) + ")") : "(0)";
  }

 private:
  std::optional<Error> last_;
  std::optional<Error> lost_;
};

// The random part drives competing users apart.
void WaitForTheOthers() {
  thread_local std::mt19937 source(std::random_device{}());
  const double part =
      static_cast<double>(source()) / (static_cast<double>(std::mt19937::max()) + 1);
  Wait(kPause);
  Wait(std::chrono::milliseconds(std::lround(RoundHalfEven(part * 500))));
}

Variant PlusOne(const Variant& value) {
  if (value.IsNull()) return value;
  const double next = ToDouble(value) + 1;
  const bool is_long =
      next == std::floor(next) && std::abs(next) <= std::numeric_limits<std::int32_t>::max();
  return is_long ? Variant(static_cast<std::int32_t>(next)) : Variant(next);
}

bool BeginTakesTheWriteLock(const ConnectionImpl* registry) {
  return registry == nullptr || registry->RequireSession().BeginTakesTheWriteLock();
}

// The transaction of one pass. Taking the write lock before the counter is read makes users who
// come at once wait for each other; without it, whoever waits at the update finds the row changed.
// Where the engine locks rows, they wait for the counter's row.
// There is none inside a transaction of the caller's, nor where the lock does not come within a
// second: the pass then runs as it is, and its update meets the time-out.
class PassTransaction {
 public:
  PassTransaction(std::shared_ptr<Connection> registry, const std::string& sql)
      : registry_(std::move(registry)) {
    if (registry_->State() != kStateOpen) return;
    const auto* own = dynamic_cast<const ConnectionImpl*>(registry_.get());
    if (own != nullptr && own->RequireSession().InTransaction()) return;
    if (!BeginTakesTheWriteLock(own)) {
      ErrorState unheeded;
      unheeded.Run([&] {
        registry_->BeginTrans();
        begun_ = true;
        LockRow(sql);
      });
      return;
    }
    const std::int32_t timeout = registry_->CommandTimeout();
    if (timeout != 1) registry_->SetCommandTimeout(1);
    try {
      registry_->BeginTrans();
      begun_ = true;
    } catch (const Error&) {
      // What stands in the way shows in the steps of the pass.
    }
    if (timeout != 1) registry_->SetCommandTimeout(timeout);
  }
  ~PassTransaction() {
    ErrorState unheeded;
    unheeded.Run([&] { End(false); });
  }
  PassTransaction(const PassTransaction&) = delete;
  PassTransaction& operator=(const PassTransaction&) = delete;

  void End(bool keep) {
    if (!begun_) return;
    begun_ = false;
    try {
      keep ? registry_->CommitTrans() : registry_->RollbackTrans();
    } catch (const Error&) {
      ErrorState unheeded;
      unheeded.Run([&] { registry_->RollbackTrans(); });
      throw;
    }
  }

 private:
  // An edit that changes nothing. Should the row have changed since it was read, it is locked all
  // the same, until the transaction ends.
  void LockRow(const std::string& sql) {
    const auto row = registry_->CreateRecordset();
    row->Open(sql, registry_, kOpenDynamic, kLockPessimistic);
    if (!row->Eof()) row->SetValue("BaseID", row->Value("BaseID"));
  }

  std::shared_ptr<Connection> registry_;
  bool begun_ = false;
};

bool AskToRetry(std::string_view counter, const ErrorState& error) {
  return ShowMessage({.text = "Cannot lock BASEIDs table to update " + std::string(counter) +
                              ".\r\nDo you want to retry?Error: " + error.Text(),
                      .buttons = MessageButtons::kYesNo,
                      .title = "Velmora"}) == MessageAnswer::kYes;
}

// Whether a pass after the sixth retry succeeded is not looked at: the user is asked even so.
// `error` ends as the last pass left it.
std::int32_t NextBaseID(std::string_view strTable, ErrorState& error) {
  const std::string sql =
      "select BaseID from BaseIDs where BaseIDName='" + std::string(strTable) + "'";
  const std::shared_ptr<Recordset> counter = CurrentSession().gcnRegistry.Get()->CreateRecordset();
  std::int32_t result = 0;
  std::int16_t retries = 0;
  const auto start_again = [&] {
    ErrorState unheeded;
    unheeded.Run([&] { counter->CancelUpdate(); });
    unheeded.Run([&] { counter->Close(); });
    error.Clear();
    WaitForTheOthers();
  };
  for (;;) {
    // Asked for on each pass: whoever answers the question may have connected anew.
    const std::shared_ptr<Connection> registry = CurrentSession().gcnRegistry.Get();
    PassTransaction pass(registry, sql);
    error.Run(
        [&] { counter->Open(sql, registry, kOpenDynamic, kLockOptimistic, kOptionsUnspecified); });
    bool at_end = false;
    error.Run([&] { at_end = counter->Eof(); });
    if (at_end) {
      result = 0;
      error.Run([&] { pass.End(false); });
      break;
    }
    error.Run([&] { counter->SetValue("BaseID", PlusOne(counter->Value("BaseID"))); });
    error.Run([&] { result = ToInt32(counter->Value("BaseID")); });
    error.Run([&] { counter->Update(); });
    const bool keep = !error.Failed();
    error.Run([&] { pass.End(keep); });
    if (retries <= kLastSilentRetry) {
      if (!error.Failed()) break;
      ++retries;
      start_again();
      continue;
    }
    error.Run([&] { counter->Close(); });
    if (!AskToRetry(strTable, error)) {
      result = -1;
      break;
    }
    retries = 0;
    start_again();
  }
  ErrorState unheeded;
  unheeded.Run([&] { counter->Close(); });
  return result;
}

}  // namespace

std::int32_t GetNextBaseID(std::string_view strTable) {
  ErrorState error;
  return NextBaseID(strTable, error);
}

std::int32_t RequireNextBaseID(std::string_view strTable) {
  ErrorState error;
  const std::int32_t id = NextBaseID(strTable, error);
  if (id < 1) {
    if (error.Lost()) throw *error.Lost();
    throw Error(kErrNoCurrentRecord, "QMDataObjects2",
                "the counter " + std::string(strTable) + " of BaseIDs gives no identifier: " +
                    (id == 0 ? "it is not there" : "it stays locked"));
  }
  return id;
}

}  // namespace qm

#include <qm/audit_log.h>
#include <qm/connection.h>
#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/recordset.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <random>

#ifdef _WIN32
#include <process.h>
#else
#include <unistd.h>
#endif

#include "runtime/text.h"
#include "session/audit_writer.h"
#include "session/own_tables.h"
#include "session/session_state.h"

namespace qm {

namespace {

constexpr const char* kTable = "QMAudit";
constexpr const char* kEveryRow = "SELECT * FROM QMAudit";
// What a time looks like; a digit stands for any digit.
constexpr std::string_view kTimeShape = "0000-00-00T00:00:00.000000Z";

int ProcessNumber() {
#ifdef _WIN32
  return _getpid();
#else
  return getpid();
#endif
}

std::string TimeText(std::int64_t microseconds) {
  using namespace std::chrono;
  const sys_time<std::chrono::microseconds> time{std::chrono::microseconds(microseconds)};
  const auto day = floor<days>(time);
  const year_month_day date(day);
  const hh_mm_ss clock(time - day);
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%06dZ", int{date.year()},
                unsigned{date.month()}, unsigned{date.day()},
                static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()),
                static_cast<int>(clock.subseconds().count()));
  return text;
}

// The time of a row, later than that of the row before, also when the clock stands or is set back.
std::string NextTime(AuditClock& clock) {
  const auto now = std::chrono::duration_cast<std::chrono::microseconds>(
      std::chrono::system_clock::now().time_since_epoch());
  clock.last = std::max(std::int64_t{now.count()}, clock.last + 1);
  return TimeText(clock.last);
}

// No counter that writers would have to wait for: of two rows with one time, the process and a
// number drawn by the session tell which is which, also across machines.
std::string KeyOf(const std::string& time, AuditClock& clock) {
  if (!clock.writer) clock.writer = std::random_device{}();
  char writer[32];
  std::snprintf(writer, sizeof writer, "-%d-%08x", ProcessNumber(), unsigned{*clock.writer});
  return time + writer;
}

std::string QueryOf(const AuditFilter& filter) {
  std::string query = kEveryRow;
  std::string_view link = " WHERE ";
  if (!filter.since.empty()) {
    if (!IsAuditTime(filter.since)) {
      throw Error(kErrBadArgument, "QMDataObjects.ReadAudit",
                  "a time begins like 2026-01-05 or 2026-01-05T15:04");
    }
    query.append(link).append("AuditKey >= '").append(filter.since).append("'");
    link = " AND ";
  }
  if (filter.id) query.append(link).append("RecordID = ").append(std::to_string(*filter.id));
  query += " ORDER BY AuditKey";
  return filter.newest_first ? query + " DESC" : query;
}

// Texts of the caller's are compared here, so that none of them stands in the statement.
bool Meets(const AuditRow& row, const AuditFilter& filter) {
  const auto agrees = [](const std::string& value, const std::string& wanted) {
    return wanted.empty() || EqualsIgnoreCase(value, wanted);
  };
  return agrees(row.entry.record, filter.record) && agrees(row.user, filter.user) &&
         agrees(row.entry.action, filter.action);
}

AuditRow ReadRow(const Recordset& rows) {
  const auto text = [&rows](const char* column) { return ToTextOrEmpty(rows.Value(column)); };
  AuditRow row;
  row.time = text("ChangedAt");
  row.user = text("ChangedBy");
  row.entry = {text("Action"), text("RecordKind"), {}, text("Detail"), text("SourceFile")};
  const Variant id = rows.Value("RecordID");
  if (!id.IsNull()) row.entry.id = ToInt32(id);
  return row;
}

}  // namespace

AuditWriter::AuditWriter() {
  const auto& registry = CurrentSession().gcnRegistry.Get();
  rows_ = registry->CreateRecordset();
  rows_->Open(std::string(kEveryRow) + " WHERE 1 = 2", registry, kOpenKeyset, kLockOptimistic);
}

void AuditWriter::Write(const AuditEntry& entry) {
  SessionState& session = CurrentSession();
  const std::string time = NextTime(session.audit_clock);
  rows_->AddNew();
  rows_->SetValue("AuditKey", KeyOf(time, session.audit_clock));
  rows_->SetValue("ChangedAt", time);
  rows_->SetValue("ChangedBy", session.gstrUser);
  rows_->SetValue("Action", entry.action);
  rows_->SetValue("RecordKind", entry.record);
  if (entry.id) rows_->SetValue("RecordID", *entry.id);
  rows_->SetValue("Detail", entry.detail);
  rows_->SetValue("SourceFile", entry.file);
  rows_->Update();
}

// It stands in a statement: nothing but a time may pass. Half a number ("2026-1") would mean other
// times than it seems to.
bool IsAuditTime(std::string_view text) {
  constexpr std::size_t kSecondsEnd = 19;
  if (text.size() > kTimeShape.size()) return false;
  if (!text.empty() && text.size() <= kSecondsEnd && kTimeShape[text.size()] == '0') return false;
  return std::equal(text.begin(), text.end(), kTimeShape.begin(), [](char c, char shape) {
    return shape == '0' ? c >= '0' && c <= '9' : c == shape;
  });
}

void WriteAudit(const AuditEntry& entry) { AuditWriter().Write(entry); }

void ReadAudit(const AuditFilter& filter, const std::function<bool(const AuditRow&)>& take) {
  const auto& registry = CurrentSession().gcnRegistry.Get();
  const auto rows = registry->CreateRecordset();
  const std::string query = QueryOf(filter);
  try {
    rows->Open(query, registry, kOpenForwardOnly, kLockReadOnly);
  } catch (const Error& error) {
    if (error.number() == kErrNoSuchTable) return;
    throw;
  }
  for (const Recordset& each : rows->Rows()) {
    const AuditRow row = ReadRow(each);
    if (Meets(row, filter) && !take(row)) break;
  }
  rows->Close();
}

void PrepareAudit() { EnsureOwnTable(kTable); }

}  // namespace qm

#include "matching/candidate_index.h"

#include <algorithm>
#include <utility>

#include <qm/conversions.h>
#include <qm/error.h>

#include "dataaccess/connection_string.h"
#include "matching/row_builder.h"
#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::int64_t kRowsOfAStep = 1024;

[[noreturn]] void Refuse(const std::string& column) {
  throw Error(kErrNotSupported, "QMDataObjects2",
              "Blocking by column \"" + column + "\" cannot be done in memory");
}

std::string Literal(std::string_view value) {
  std::string result = "'";
  for (const char c : value) result.append(c == '\'' ? 2 : 1, c);
  return result.append("'");
}

bool IsSqlite(const Connection& connection) {
  try {
    const auto provider = ParsedConnectionString(connection.ConnectionString()).Find("Provider");
    return provider && EqualsIgnoreCase(*provider, "SQLite");
  } catch (const Error&) {
    return false;  // a connection of another kind
  }
}

std::int32_t PatientIdOf(const Variant& key) {
  if (const auto* const number = key.GetIf<std::int32_t>()) return *number;
  try {
    const std::string text = ToText(key);
    const std::int32_t patient_id = ToInt32(Variant(text));
    if (text == std::to_string(patient_id)) return patient_id;  // a rule may read it as text
  } catch (const Error&) {
    // Null, or beyond the numbers that are kept
  }
  Refuse("PatientID");
}

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// Some engines know of these letters only, and of no others in other case.
std::string InOtherCase(const std::string& text) {
  std::string other = text;
  for (char& c : other) c = static_cast<char>(IsLetter(c) ? c ^ ' ' : c);
  if (other != text) return other;
  other = UpperCase(text);
  return other == text ? LowerCase(text) : other;
}

}  // namespace

PatientReader::PatientReader(std::shared_ptr<Connection> connection, const IndexRules& rules)
    : connection_(std::move(connection)),
      columns_(rules.columns()),
      blocking_(rules.BlockingColumns()),
      read_(columns_.size()),
      values_(columns_.size()) {}

std::string PatientReader::Query(const std::string& condition) const {
  std::string query = "SELECT PatientID";
  for (const std::string& column : columns_) query.append(", ").append(column);
  return query.append(" from Patients").append(condition);
}

std::int64_t PatientReader::Count(const std::string& condition) const {
  return ToInt32(connection_->Execute("SELECT count(*) FROM Patients" + condition)->Value(0));
}

// Binary values come as texts, and equal none for the engine. They are its greatest, so that an
// index finds them.
void PatientReader::CheckNoBinary(const std::string& condition) const {
  if (!IsSqlite(*connection_)) return;
  std::string any;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (blocking_[i]) any.append(any.empty() ? "" : " OR ").append(columns_[i]).append(" >= x''");
  }
  if (!any.empty() && Count(" WHERE (" + any + ")" + condition) != 0) Refuse("of binary values");
}

// A value in other letters and one with a blank behind are other values.
void PatientReader::TryComparison(CandidateIndex& index, std::size_t column,
                                  std::int32_t patient_id, std::string_view value) const {
  using Tried = CandidateIndex::Tried;
  const std::string sample(value);
  const std::string other = InOtherCase(sample);
  const Tried tries = std::ranges::any_of(sample, IsLetter) ? Tried::kLetters
                      : other != sample                     ? Tried::kOtherLetters
                                                            : Tried::kBlanks;
  if (index.tried[column] >= tries || sample.find('\0') != std::string::npos) return;
  const auto finds = [&](const std::string& text) {
    return Count(" WHERE PatientID = " + std::to_string(patient_id) + " AND " + columns_[column] +
                 " = " + Literal(text)) != 0;
  };
  if (!finds(sample) || finds(sample + " ") || (other != sample && finds(other))) {
    Refuse(columns_[column]);
  }
  index.tried[column] = tries;
}

// With a value that has letters, where there is one.
void PatientReader::TryComparisons(CandidateIndex& index) const {
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (!blocking_[i]) continue;
    const PatientRows::Column& column = index.rows.columns()[i];
    for (PatientRows::Code code = 1; code < column.Limit(); ++code) {
      if (index.tried[i] == CandidateIndex::Tried::kLetters) break;
      const auto rows = index.rows.IndexedRows(column, code);
      if (rows.empty()) continue;
      const auto id = PatientRows::PatientId(index.rows.Row(rows[0]));
      TryComparison(index, i, id, column.Text(code));
    }
  }
}

void PatientReader::Open() {
  CheckNoBinary("");
  total_ = Count("");
  done_ = 0;
  patients_ = connection_->CreateRecordset();
  patients_->Open(Query(""), connection_);
}

// Into `values_`; gives the patient's identifier.
std::int32_t PatientReader::TakeRow(const Recordset& row) {
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    read_[i] = row.Value(static_cast<int>(i) + 1);
    values_[i].reset();
    if (read_[i].IsNull()) continue;
    if (!read_[i].IsText()) {
      if (blocking_[i]) Refuse(columns_[i]);
      read_[i] = ToText(read_[i]);
    }
    values_[i] = read_[i].Get<std::string>();
  }
  return PatientIdOf(row.Value(0));
}

bool PatientReader::Read(CandidateIndex& index, std::int64_t memory, int threads,
                         const MatchIndexProgress& progress) {
  // What is derived of the values, and what the search remembers of them, comes on top.
  const auto room = static_cast<std::size_t>(memory) / 2;
  constexpr std::size_t kUsualRow = 32;
  const auto left = static_cast<std::size_t>(std::max<std::int64_t>(0, total_ - done_));
  index.rows.Reserve(memory == 0 ? left : std::min(left, room / (4 * kUsualRow)));
  {
    RowBuilder builder(index.rows);
    for (; !patients_->Eof(); patients_->MoveNext()) {
      if (done_ % kRowsOfAStep == 0) {
        if (progress) progress(done_, total_);
        if (memory != 0 && builder.Bytes() > room) break;
      }
      const std::int32_t patient_id = TakeRow(*patients_);
      builder.Add(patient_id, values_);
      ++done_;
    }
    builder.Finish();
  }
  index.rows.IndexRows();
  TryComparisons(index);
  index.rules.Extend(index.rows, threads);
  return !patients_->Eof();
}

void PatientReader::Refresh(CandidateIndex& index, std::int32_t patient_id) {
  const std::string condition = "PatientID = " + std::to_string(patient_id);
  CheckNoBinary(" AND " + condition);
  const auto rows = connection_->CreateRecordset();
  rows->Open(Query(" WHERE " + condition), connection_);
  std::vector<std::vector<Variant>> taken;
  for (const Recordset& row : rows->Rows()) {
    TakeRow(row);
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (blocking_[i] && values_[i]) TryComparison(index, i, patient_id, *values_[i]);
    }
    taken.push_back(read_);
  }
  index.rows.Remove(patient_id);
  for (const std::vector<Variant>& row : taken) {
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      values_[i].reset();
      if (!row[i].IsNull()) values_[i] = row[i].Get<std::string>();
    }
    index.rules.Extend(index.rows, index.rows.Add(patient_id, values_));
  }
  if (index.rows.IsScattered()) index.rows.IndexRows();
}

}  // namespace qm

#include "matching/candidate_index.h"

#include <algorithm>
#include <exception>
#include <thread>
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

[[noreturn]] void RefuseBinary() { Refuse("of binary values"); }

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

using Tried = CandidateIndex::Tried;

// Some engines know of these letters only, and of no others in other case.
std::string InOtherCase(const std::string& text) {
  std::string other = text;
  for (char& c : other) c = static_cast<char>(IsLetter(c) ? c ^ ' ' : c);
  if (other != text) return other;
  other = UpperCase(text);
  return other == text ? LowerCase(text) : other;
}

// What is tried with a value.
Tried Tries(std::string_view value) {
  if (std::ranges::any_of(value, IsLetter)) return Tried::kLetters;
  const bool plain =
      std::ranges::none_of(value, [](char c) { return static_cast<unsigned char>(c) > 0x7F; });
  return plain || InOtherCase(std::string(value)) == value ? Tried::kBlanks : Tried::kOtherLetters;
}

bool TellsMore(Tried tried, std::string_view value) {
  return tried < Tries(value) && value.find('\0') == std::string_view::npos;
}

}  // namespace

PatientReader::PatientReader(std::shared_ptr<Connection> connection, const IndexRules& rules)
    : connection_(std::move(connection)),
      columns_(rules.columns()),
      blocking_(rules.BlockingColumns()),
      values_(columns_.size()) {}

std::string PatientReader::Query(const std::string& condition) const {
  std::string query = "SELECT PatientID";
  for (const std::string& column : columns_) query.append(", ").append(column);
  return query.append(" from Patients").append(condition);
}

std::int64_t PatientReader::Count(const std::string& condition) const {
  return ToInt32(connection_->Execute("SELECT count(*) FROM Patients" + condition)->Value(0));
}

// Binary values equal no text for the engine, but come as texts in a recordset. They are its
// greatest, so that an index finds them.
void PatientReader::CheckNoBinary(const std::string& condition) const {
  if (!IsSqlite(*connection_)) return;
  std::string any;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (blocking_[i]) any.append(any.empty() ? "" : " OR ").append(columns_[i]).append(" >= x''");
  }
  if (!any.empty() && Count(" WHERE (" + any + ")" + condition) != 0) RefuseBinary();
}

// A value in other letters and one with a blank behind are other values.
void PatientReader::TryComparison(CandidateIndex& index, std::size_t column,
                                  std::int32_t patient_id, std::string_view value) const {
  if (!TellsMore(index.tried[column], value)) return;
  const std::string sample(value);
  const std::string other = InOtherCase(sample);
  const auto finds = [&](const std::string& text) {
    return Count(" WHERE PatientID = " + std::to_string(patient_id) + " AND " + columns_[column] +
                 " = " + Literal(text)) != 0;
  };
  if (!finds(sample) || finds(sample + " ") || (other != sample && finds(other))) {
    Refuse(columns_[column]);
  }
  index.tried[column] = Tries(value);
}

// With a value that has letters, where there is one.
void PatientReader::TryComparisons(CandidateIndex& index) const {
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (!blocking_[i]) continue;
    const PatientRows::Column& column = index.rows.columns()[i];
    for (PatientRows::Code code = 1; code < column.Limit(); ++code) {
      if (index.tried[i] == CandidateIndex::Tried::kLetters) break;
      if (!column.values.Has(code - 1) || !TellsMore(index.tried[i], column.Text(code))) continue;
      const auto rows = index.rows.IndexedRows(column, code);
      if (rows.empty()) continue;
      const auto id = PatientRows::PatientId(index.rows.Row(rows[0]));
      TryComparison(index, i, id, column.Text(code));
    }
  }
}

// An engine in the process gives each value where it lies, and bears other statements meanwhile.
void PatientReader::Open(std::int64_t memory, bool in_place) {
  total_ = Count("");
  done_ = 0;
  memory_ = memory;
  in_place_.reset();
  if (in_place && IsSqlite(*connection_)) {
    in_place_ = std::make_unique<TextRows>(connection_, Query(""));
    has_patient_ = in_place_->Next();
    return;
  }
  CheckNoBinary("");
  patients_ = connection_->CreateRecordset();
  patients_->Open(Query(""), connection_);
  patient_ = std::make_unique<RecordsetTexts>(*patients_);
  has_patient_ = !patients_->Eof();
}

void PatientReader::NextPatient() {
  if (in_place_) {
    has_patient_ = in_place_->Next();
  } else {
    patients_->MoveNext();
    has_patient_ = !patients_->Eof();
  }
}

// Into `values_`; gives the patient's identifier.
std::int32_t PatientReader::TakeRow(const RowTexts& row) {
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    const int column = static_cast<int>(i) + 1;
    std::string_view text;
    const ValueKind kind = row.Read(column, text);
    values_[i].reset();
    if (kind == ValueKind::kNull) continue;
    if (kind == ValueKind::kBinary && blocking_[i]) RefuseBinary();
    if (kind == ValueKind::kOther && blocking_[i]) Refuse(columns_[i]);
    values_[i] = text;
  }
  return PatientIdOf(row.Value(0));
}

// What the rules make of the values needs the values alone, in whatever order the rows are.
void PatientReader::MakeReady(CandidateIndex& index, int threads) const {
  std::exception_ptr error;
  {
    const auto extend = [&] { index.rules.Extend(index.rows, threads); };
    std::jthread other;  // ends before what it uses
    if (threads > 1) {
      other = std::jthread([&] {
        try {
          extend();
        } catch (...) {
          error = std::current_exception();
        }
      });
    }
    index.rows.IndexRows();
    TryComparisons(index);
    if (threads <= 1) extend();
  }
  if (error) std::rethrow_exception(error);
  index.marks.Make(index.rows, index.rules);
}

bool PatientReader::Read(CandidateIndex& index, int threads, const MatchIndexProgress& progress) {
  // What is derived of the values, and what the search remembers of them, comes on top.
  const auto room = static_cast<std::size_t>(memory_) / 2;
  constexpr std::size_t kUsualRow = 32;
  const auto left = static_cast<std::size_t>(std::max<std::int64_t>(0, total_ - done_));
  index.rows.Reserve(memory_ == 0 ? left : std::min(left, room / (4 * kUsualRow)));
  {
    RowBuilder builder(index.rows);
    const RowTexts& row = in_place_ ? static_cast<const RowTexts&>(*in_place_) : *patient_;
    for (; has_patient_; NextPatient()) {
      if (done_ % kRowsOfAStep == 0) {
        if (progress) progress(done_, total_);
        if (memory_ != 0 && builder.Bytes() > room) break;
      }
      const std::int32_t patient_id = TakeRow(row);
      builder.Add(patient_id, values_);
      ++done_;
    }
    builder.Finish();
  }
  if (!has_patient_) in_place_.reset();  // the connection may be closed before the reader goes
  MakeReady(index, threads);
  return has_patient_;
}

void PatientReader::Refresh(CandidateIndex& index, std::int32_t patient_id) {
  const std::string condition = "PatientID = " + std::to_string(patient_id);
  CheckNoBinary(" AND " + condition);
  const auto rows = connection_->CreateRecordset();
  rows->Open(Query(" WHERE " + condition), connection_);
  const RecordsetTexts texts(*rows);
  std::vector<std::vector<std::optional<std::string>>> taken;
  for (; !rows->Eof(); rows->MoveNext()) {
    TakeRow(texts);
    taken.emplace_back(values_.begin(), values_.end());
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (blocking_[i] && values_[i]) TryComparison(index, i, patient_id, *taken.back()[i]);
    }
  }
  try {
    index.rows.Remove(patient_id);
    for (const auto& row : taken) {
      std::ranges::copy(row, values_.begin());
      index.rules.Extend(index.rows, index.rows.Add(patient_id, values_));
    }
    const bool is_scattered = index.rows.IsScattered();
    if (is_scattered) index.rows.IndexRows();
    if (is_scattered || index.marks.AreStale(index.rules)) {
      index.marks.Make(index.rows, index.rules);
    }
  } catch (...) {
    index.marks.Drop();  // which may no longer fit the rows
    throw;
  }
}

}  // namespace qm

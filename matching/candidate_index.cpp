#include "matching/candidate_index.h"

#include <algorithm>
#include <utility>

#include <qm/conversions.h>
#include <qm/error.h>

#include "matching/row_builder.h"
#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::int64_t kSample = 1000;
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

std::string InOtherCase(const std::string& text) {
  const std::string upper = UpperCase(text);
  return upper == text ? LowerCase(text) : upper;
}

}  // namespace

PatientReader::PatientReader(std::shared_ptr<Connection> connection, const IndexRules& rules)
    : connection_(std::move(connection)),
      columns_(rules.columns()),
      blocking_(rules.BlockingColumns()),
      read_(columns_.size()),
      values_(columns_.size()) {}

void PatientReader::CheckBlocking() const {
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (blocking_[i]) CheckComparison(i);
  }
}

std::string PatientReader::Query(const std::string& condition) const {
  std::string query = "SELECT PatientID";
  for (const std::string& column : columns_) query.append(", ").append(column);
  return query.append(" from Patients").append(condition);
}

std::int64_t PatientReader::Count(const std::string& condition) const {
  return ToInt32(connection_->Execute("SELECT count(*) FROM Patients" + condition)->Value(0));
}

// A value in other letters and one with a blank behind are other values.
void PatientReader::CheckComparison(std::size_t column) const {
  const std::string& name = columns_[column];
  const auto rows = connection_->CreateRecordset();
  rows->SetMaxRecords(kSample);
  rows->Open("SELECT PatientID, " + name + " FROM Patients", connection_);
  std::string key;
  std::string sample;
  for (const Recordset& row : rows->Rows()) {
    const Variant value = row.Value(1);
    if (value.IsNull()) continue;
    if (!value.IsText()) Refuse(name);
    const std::string& text = value.Get<std::string>();
    const bool better = sample.empty() || InOtherCase(sample) == sample;
    if (text.empty() || !better) continue;
    sample = text;
    key = ToTextOrEmpty(row.Value(0));
  }
  rows->Close();
  if (sample.empty()) return;
  const auto finds = [&](const std::string& value) {
    return Count(" WHERE PatientID = " + key + " AND " + name + " = " + Literal(value)) != 0;
  };
  const std::string other = InOtherCase(sample);
  if (!finds(sample) || finds(sample + " ") || (other != sample && finds(other))) Refuse(name);
}

void PatientReader::Open() {
  total_ = Count("");
  done_ = 0;
  patients_ = connection_->CreateRecordset();
  patients_->Open(Query(""), connection_);
}

// Into `values_`; gives the patient's identifier.
std::int32_t PatientReader::TakeRow(const Recordset& row) {
  const Variant key = row.Value(0);
  const auto* const number = key.GetIf<std::int32_t>();
  const std::int32_t patient_id = number != nullptr ? *number : ToInt32(Variant(ToText(key)));
  // A rule may read it as text.
  if (number == nullptr && ToText(key) != std::to_string(patient_id)) Refuse("PatientID");
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
  return patient_id;
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
  index.rules.Extend(index.rows, threads);
  return !patients_->Eof();
}

void PatientReader::Refresh(CandidateIndex& index, std::int32_t patient_id) {
  const auto rows = connection_->CreateRecordset();
  rows->Open(Query(" WHERE PatientID = " + std::to_string(patient_id)), connection_);
  index.rows.Remove(patient_id);
  for (const Recordset& row : rows->Rows()) {
    const std::int32_t id = TakeRow(row);
    index.rules.Extend(index.rows, index.rows.Add(id, values_));
  }
  if (index.rows.IsScattered()) index.rows.IndexRows();
}

}  // namespace qm

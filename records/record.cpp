#include <qm/record.h>

#include <utility>

#include <qm/conversions.h>

#include "records/split_record.h"

namespace qm {

Record::Record(std::unique_ptr<SplitRecord> record) : record_(std::move(record)) {}
Record::Record(Record&&) noexcept = default;
Record& Record::operator=(Record&&) noexcept = default;
Record::~Record() = default;

SplitRecord& Record::Split() { return *record_; }

Variant Record::Fields(const Variant& vFieldIndex) { return record_->Fields(vFieldIndex); }
void Record::SetFields(const Variant& vFieldIndex, const Variant& value) {
  record_->SetFields(vFieldIndex, value);
}

Variant Record::FieldByIndex(std::int16_t iFieldIndex) {
  return record_->FieldByIndex(iFieldIndex);
}
void Record::SetFieldByIndex(std::int16_t iFieldIndex, const Variant& value) {
  record_->SetFieldByIndex(iFieldIndex, value);
}

Variant Record::FieldByName(std::string_view strFieldName) {
  return record_->FieldByName(strFieldName);
}
void Record::SetFieldByName(std::string_view strFieldName, const Variant& value) {
  record_->SetFieldByName(strFieldName, value);
}

std::shared_ptr<qm::Recordset> Record::Recordset(std::int16_t Index) {
  return record_->Recordset(Index);
}
std::vector<std::shared_ptr<qm::Recordset>> Record::Recordsets() { return record_->Recordsets(); }

bool Record::AutoFormatValues() const { return record_->AutoFormatValues(); }
void Record::SetAutoFormatValues(bool value) { record_->SetAutoFormatValues(value); }

bool Record::Eof() const { return record_->Primary().Eof(); }
bool Record::Bof() const { return record_->Primary().Bof(); }
void Record::MoveFirst() { record_->Move(&qm::Recordset::MoveFirst); }
void Record::MoveLast() { record_->Move(&qm::Recordset::MoveLast); }
void Record::MoveNext() { record_->Move(&qm::Recordset::MoveNext); }
void Record::MovePrevious() { record_->Move(&qm::Recordset::MovePrevious); }

void Record::Find(std::string_view strCriteria, std::int32_t /*lSkip*/, std::int16_t /*iDirection*/,
                  std::int32_t /*lStart*/) {
  record_->Find(strCriteria);
}
void Record::SeekRecord(const Variant& vValue) { record_->SeekRecord(vValue); }
void Record::SetIndex(std::string_view name) { record_->SetIndex(name); }
void Record::Filter(std::string_view /*strFilter*/) {}

Variant Record::BookMark() const { return record_->BookMark(); }
void Record::SetBookMark(const Variant& value) { record_->SetBookMark(value); }

std::int32_t Record::RecordCount() const {
  return NarrowInt32(static_cast<double>(record_->Primary().RecordCount()));
}
bool Record::SupportsIndex() const { return record_->Primary().Supports(kSupportsIndex); }
std::int16_t Record::State() const { return static_cast<std::int16_t>(record_->Primary().State()); }
void Record::CloseRecordset() { record_->CloseRecordset(); }

void Record::AddNew(std::int32_t key) { record_->AddNew(key); }
void Record::Update() { record_->Update(); }
void Record::CancelUpdate() { record_->CancelUpdate(); }
bool Abstract::CriticalFieldsMissing() { return Split().CriticalFieldsMissing(); }

std::string Record::Max(std::string_view strFieldName) { return record_->Max(strFieldName); }
// Clients rely on it: both replace the running value by a greater one.
std::string Record::Min(std::string_view strFieldName) { return record_->Max(strFieldName); }
Variant Record::GetXML() { return record_->GetXML(); }

std::string Abstract::FieldByNAACCRNum(std::int16_t /*Index*/) const { return {}; }
void Abstract::SetFieldByNAACCRNum(std::int16_t /*Index*/, const Variant& /*value*/) {}

Variant Patient::FieldsByNAACCRNum(std::int16_t /*Index*/) const { return {}; }
void Patient::SetFieldsByNAACCRNum(std::int16_t /*Index*/, const Variant& /*value*/) {}

Variant Tumor::FieldsByNAACCRNum(std::int16_t /*Index*/) const { return {}; }
void Tumor::SetFieldsByNAACCRNum(std::int16_t /*Index*/, const Variant& /*value*/) {}

}  // namespace qm

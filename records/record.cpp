#include <qm/record.h>

#include <utility>

#include "records/split_record.h"

namespace qm {

Record::Record(std::unique_ptr<SplitRecord> record) : record_(std::move(record)) {}
Record::Record(Record&&) noexcept = default;
Record& Record::operator=(Record&&) noexcept = default;
Record::~Record() = default;

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
std::int16_t Record::FieldTableNo(std::int16_t Index) const { return record_->FieldTableNo(Index); }

bool Record::AutoFormatValues() const { return record_->AutoFormatValues(); }
void Record::SetAutoFormatValues(bool value) { record_->SetAutoFormatValues(value); }

std::string Abstract::FieldByNAACCRNum(std::int16_t /*Index*/) const { return {}; }
void Abstract::SetFieldByNAACCRNum(std::int16_t /*Index*/, const Variant& /*value*/) {}

Variant Patient::FieldsByNAACCRNum(std::int16_t /*Index*/) const { return {}; }
void Patient::SetFieldsByNAACCRNum(std::int16_t /*Index*/, const Variant& /*value*/) {}

Variant Tumor::FieldsByNAACCRNum(std::int16_t /*Index*/) const { return {}; }
void Tumor::SetFieldsByNAACCRNum(std::int16_t /*Index*/, const Variant& /*value*/) {}

}  // namespace qm

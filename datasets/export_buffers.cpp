#include "datasets/export_buffers.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <qm/conversions.h>
#include <qm/data_sets.h>

#include "datasets/data_sets_state.h"
#include "layout/field_format.h"
#include "runtime/text.h"
#include "session/trap.h"

namespace qm {

namespace {

constexpr std::string_view kDateCode = "D";

// Whether the column behind a formatted value holds the empty text.
bool IsEmptyInTable(Record& record, const Variant& name) {
  record.SetAutoFormatValues(false);
  const bool empty = Trim(ToTextOrEmpty(record.Fields(name))).empty();
  record.SetAutoFormatValues(true);
  return empty;
}

// Nothing for a Null. Formatting is on.
std::optional<std::string> ValueOf(Record& record, std::string_view field_name, EmptyItems empty) {
  const Variant name(field_name);
  Variant value = record.Fields(name);
  if (value.IsNull()) return std::nullopt;
  std::string text = ToText(std::move(value));
  const bool zeros = !text.empty() && text.find_first_not_of('0') == std::string::npos;
  if (empty == EmptyItems::kBlank && zeros && IsEmptyInTable(record, name)) text.clear();
  return text;
}

// The first characters, as many as the field is long.
std::string_view CutToField(std::string_view value, std::int16_t length) {
  if (length < 0) RaiseRunTime(kErrInvalidCall);
  return CharacterSlice(value, 0, static_cast<std::size_t>(length));
}

}  // namespace

RecordBuffer FacilityRecord(const NAACCRLayout& layout, Abstract& qmAbstract, EmptyItems empty) {
  return Trap(1107, "QMObjects.QMDatasets.CreateFacilityNAACCRBuffer", [&] {
    RecordBuffer buffer(layout.RecordLength(qmRecordTypeA));
    const bool auto_format_values = qmAbstract.AutoFormatValues();
    qmAbstract.SetAutoFormatValues(true);
    for (int k = 1; k <= layout.FieldsCount(); ++k) {
      const auto i = static_cast<std::int16_t>(k);
      const std::int16_t start = layout.FieldStart(i);
      if (start <= 0 || (layout.FieldAbsTable(i) < 1 && layout.FieldType(i) != "X")) continue;
      std::string value = ValueOf(qmAbstract, Trim(layout.FieldName(i)), empty).value_or("");
      if (layout.FieldJustification(i) == kDateCode) value = FormatDate(value, "F");
      const std::int16_t length = layout.FieldLength(i);
      buffer.Overwrite(start, length, CutToField(value, length));
    }
    qmAbstract.SetAutoFormatValues(auto_format_values);
    return buffer;
  });
}

RecordBuffer ConsolidatedRecord(const NAACCRLayout& layout, Patient& qmPatient, Tumor& qmTumor,
                                EmptyItems empty) {
  return Trap(1108, "QMObjects.QMDatasets.CreateConsolidatedNAACCRBuffer", [&] {
    RecordBuffer buffer(layout.RecordLength(qmRecordTypeA));
    const bool auto_format_values = qmPatient.AutoFormatValues();
    qmPatient.SetAutoFormatValues(true);
    qmTumor.SetAutoFormatValues(true);
    for (int k = 1; k <= layout.FieldsCount(); ++k) {
      const auto i = static_cast<std::int16_t>(k);
      const std::string_view name = Trim(layout.FieldName(i));
      std::string value;
      if (layout.IsPatientField(i) != 0) value = ValueOf(qmPatient, name, empty).value_or("");
      if (layout.IsMedicalSummaryField(i) != 0) {
        if (auto of_tumor = ValueOf(qmTumor, name, empty)) value.swap(*of_tumor);
      }
      if (layout.FieldJustification(i) == kDateCode) value = FormatDate(value, "F");
      const std::int16_t length = layout.FieldLength(i);
      std::string field(Trim(CutToField(value, length)));
      if (length <= 0) continue;
      field.append(static_cast<std::size_t>(length) - CharacterCount(field), ' ');
      buffer.Overwrite(layout.FieldStart(i), length, field);
    }
    // Both get the patient's, whatever the tumor had.
    qmPatient.SetAutoFormatValues(auto_format_values);
    qmTumor.SetAutoFormatValues(auto_format_values);
    return buffer;
  });
}

std::string QMDataSets::CreateFacilityNAACCRBuffer(Abstract& qmAbstract) {
  return FacilityRecord(*state_->Layout(), qmAbstract, EmptyItems::kPadded).Text();
}

std::string QMDataSets::CreateConsolidatedNAACCRBuffer(Patient& qmPatient, Tumor& qmTumor) {
  return ConsolidatedRecord(*state_->Layout(), qmPatient, qmTumor, EmptyItems::kPadded).Text();
}

}  // namespace qm

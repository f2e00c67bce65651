#include "review/report_fields.h"

#include <qm/conversions.h>

#include <span>

#include "runtime/text.h"

namespace qm {

namespace {

constexpr ReportField kPersonFields[] = {
    {2230, "Person", "Last name"},
    {2240, "Person", "First name"},
    {2250, "Person", "Middle name"},
    {2270, "Person", "Suffix"},
    {2390, "Person", "Maiden name"},
    {2280, "Person", "Alias"},
    {240, "Person", "Birth date", "date"},
    {220, "Person", "Sex", "sex"},
    {2320, "Person", "SSN", "ssn"},
    {160, "Person", "Race", "race"},
    {161, "Person", "Race 2", "race"},
    {190, "Person", "Hispanic origin", "hispanic"},
    {252, "Person", "Birth state"},
    {254, "Person", "Birth country"},
    {2350, "Address", "Street"},
    {2355, "Address", "Supplement"},
    {1810, "Address", "City"},
    {1820, "Address", "State"},
    {1830, "Address", "Postal code"},
    {1840, "Address", "County"},
    {2360, "Address", "Telephone", "phone"},
    {1760, "Follow-up", "Vital status", "vital"},
    {1750, "Follow-up", "Last contact", "date"},
    {2300, "Follow-up", "Medical record"},
};

constexpr ReportField kTumorFields[] = {
    {390, "Tumor", "Diagnosed", "date"},
    {400, "Tumor", "Primary site"},
    {410, "Tumor", "Laterality", "laterality"},
    {522, "Tumor", "Histology"},
    {523, "Tumor", "Behavior", "behavior"},
    {440, "Tumor", "Grade"},
    {380, "Tumor", "Sequence"},
    {230, "Tumor", "Age"},
    {2330, "At diagnosis", "Street"},
    {70, "At diagnosis", "City"},
    {80, "At diagnosis", "State"},
    {100, "At diagnosis", "Postal code"},
};

constexpr ReportField kOriginFields[] = {
    {540, "Origin", "Facility"},
    {550, "Origin", "Accession"},
    {2300, "Origin", "Medical record"},
    {580, "Origin", "First contact", "date"},
};

using TableCode = std::int16_t (NAACCRLayout::*)(std::int16_t) const;

std::vector<ReportField> Kept(std::span<const ReportField> wanted, const NAACCRLayout& layout,
                              TableCode other) {
  std::vector<ReportField> fields;
  for (ReportField field : wanted) {
    field.index = layout.IndexByNAACCRItemNo(field.item);
    if (field.index < 1 || layout.FieldAbsTable(field.index) == 0) continue;
    if (other != nullptr && (layout.*other)(field.index) == 0) continue;
    fields.push_back(field);
  }
  return fields;
}

}  // namespace

std::vector<ReportField> PersonFields(const NAACCRLayout& layout) {
  return Kept(kPersonFields, layout, &NAACCRLayout::FieldPatTable);
}

std::vector<ReportField> TumorFields(const NAACCRLayout& layout) {
  return Kept(kTumorFields, layout, &NAACCRLayout::FieldMedTable);
}

std::vector<ReportField> OriginFields(const NAACCRLayout& layout) {
  return Kept(kOriginFields, layout, nullptr);
}

std::vector<std::string> ReportValues(Record& record, const std::vector<ReportField>& fields) {
  std::vector<std::string> values;
  values.reserve(fields.size());
  for (const ReportField& field : fields) {
    values.emplace_back(Trim(ToTextOrEmpty(record.FieldByIndex(field.index))));
  }
  return values;
}

}  // namespace qm

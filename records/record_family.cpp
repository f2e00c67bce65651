#include "records/record_family.h"

#include <algorithm>
#include <array>

#include "runtime/text.h"

namespace qm {

namespace {

using std::string_view_literals::operator""sv;

constexpr std::array kAbstractPrefixes = {"HELDFOR"sv, "PROJECT"sv};
constexpr std::array kProjectPrefix = {"PROJECT"sv};

constexpr std::array kAbstractColumns = {
    "EDITORINIT"sv,  "DATEEDITED"sv,  "DATECREATED"sv, "DATEOFFLOADED"sv, "COMPLETED"sv,
    "REMARKS"sv,     "STATUS1"sv,     "STATUS2"sv,     "STATUS3"sv,       "STATUSDATE1"sv,
    "STATUSDATE2"sv, "STATUSDATE3"sv, "NAMEX"sv,       "MEDREFID"sv,      "ABSREFID"sv};
constexpr std::array kPatientColumns = {"DATECREATED"sv, "DATEEDITED"sv,  "NAMEX"sv,
                                        "REMARKS"sv,     "SOUNDEX"sv,     "STATUS1"sv,
                                        "STATUS2"sv,     "STATUS3"sv,     "CONSOLIDATELOGID"sv,
                                        "STATUSDATE1"sv, "STATUSDATE2"sv, "STATUSDATE3"sv};
constexpr std::array kTumorColumns = {"EDITORINIT"sv,  "DATEEDITED"sv,  "REMARKS"sv,
                                      "MEDREFID"sv,    "DATECREATED"sv, "STATUS1"sv,
                                      "STATUS2"sv,     "STATUS3"sv,     "CONSOLIDATELOGID"sv,
                                      "STATUSDATE1"sv, "STATUSDATE2"sv, "STATUSDATE3"sv};

constexpr std::size_t kPrefixLength = 7;

}  // namespace

const RecordFamily kAbstractFamily = {.record_class = "Abstract",
                                      .table = "Abstracts",
                                      .global_table = "ABSTRACTS",
                                      .key = "AbsRefID",
                                      .select_key = "AbsrefID",
                                      .primary_prefixes = kAbstractPrefixes,
                                      .primary_columns = kAbstractColumns,
                                      .audit_column = "DATEFACUPDATED",
                                      .audit_table = 3,
                                      .traps_get_table = true,
                                      .table_codes = &ControlArrays::iAbsTableNo,
                                      .table_count = &NAACCRLayout::AbsTableCnt};

const RecordFamily kPatientFamily = {.record_class = "Patient",
                                     .table = "Patients",
                                     .global_table = "Patients",
                                     .key = "PatientID",
                                     .select_key = "PatientID",
                                     .primary_prefixes = kProjectPrefix,
                                     .primary_columns = kPatientColumns,
                                     .audit_column = "DATEPTUPDATED",
                                     .audit_table = 2,
                                     .traps_get_table = true,
                                     .table_codes = &ControlArrays::iPatTableNo,
                                     .table_count = &NAACCRLayout::PatTableCnt};

const RecordFamily kTumorFamily = {.record_class = "Tumor",
                                   .table = "MedicalSum",
                                   .global_table = "MedicalSum",
                                   .key = "MedRefID",
                                   .select_key = "MedRefID",
                                   .primary_prefixes = kProjectPrefix,
                                   .primary_columns = kTumorColumns,
                                   .audit_column = "DATETUMUPDATED",
                                   .audit_table = 2,
                                   .traps_get_table = false,
                                   .table_codes = &ControlArrays::iMedTableNo,
                                   .table_count = &NAACCRLayout::MedTableCnt};

std::string TableName(std::string_view primary, int table) {
  std::string name(primary);
  return table == 1 ? name : name + "_" + std::to_string(table);
}

int OwnColumnTable(const RecordFamily& family, std::string_view name) {
  const std::string upper = UpperCase(name);
  const auto begins = std::string_view(upper).substr(0, kPrefixLength);
  if (std::ranges::find(family.primary_prefixes, begins) != family.primary_prefixes.end() ||
      std::ranges::find(family.primary_columns, upper) != family.primary_columns.end()) {
    return 1;
  }
  return upper == family.audit_column ? family.audit_table : 0;
}

}  // namespace qm

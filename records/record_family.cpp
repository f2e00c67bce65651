#include "records/record_family.h"

#include <algorithm>

#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::string_view kAbstractPrefixes[] = {"HELDFOR", "PROJECT"};
constexpr std::string_view kProjectPrefix[] = {"PROJECT"};

constexpr std::string_view kAbstractColumns[] = {
    "EDITORINIT",  "DATEEDITED",  "DATECREATED", "DATEOFFLOADED", "COMPLETED",
    "REMARKS",     "STATUS1",     "STATUS2",     "STATUS3",       "STATUSDATE1",
    "STATUSDATE2", "STATUSDATE3", "NAMEX",       "MEDREFID",      "ABSREFID"};
constexpr std::string_view kPatientColumns[] = {"DATECREATED", "DATEEDITED",  "NAMEX",
                                                "REMARKS",     "SOUNDEX",     "STATUS1",
                                                "STATUS2",     "STATUS3",     "CONSOLIDATELOGID",
                                                "STATUSDATE1", "STATUSDATE2", "STATUSDATE3"};
constexpr std::string_view kTumorColumns[] = {
    "EDITORINIT", "DATEEDITED", "REMARKS",          "MEDREFID",    "DATECREATED", "STATUS1",
    "STATUS2",    "STATUS3",    "CONSOLIDATELOGID", "STATUSDATE1", "STATUSDATE2", "STATUSDATE3"};

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
                                      .membership = &ControlArrays::iAbstable,
                                      .table_count = &NAACCRLayout::AbsTableCnt,
                                      .texts_follow = true,
                                      .find_marks_stale_first = true,
                                      .seek_marks_stale = false,
                                      .bookmark_count = &NAACCRLayout::AbsTableCnt,
                                      .add_new_opens = false,
                                      .save_source = "QMObjects.Abstract.",
                                      .update_error = 1202,
                                      .cancel_error = 1203};

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
                                     .membership = &ControlArrays::iPatTable,
                                     .table_count = &NAACCRLayout::PatTableCnt,
                                     .texts_follow = false,
                                     .find_marks_stale_first = false,
                                     .seek_marks_stale = true,
                                     .bookmark_count = &NAACCRLayout::AbsTableCnt,
                                     .add_new_opens = false,
                                     .save_source = "QMObjects.Patient.",
                                     .update_error = 1402,
                                     .cancel_error = 1403};

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
                                   .membership = &ControlArrays::iMedTable,
                                   .table_count = &NAACCRLayout::MedTableCnt,
                                   .texts_follow = false,
                                   .find_marks_stale_first = false,
                                   .seek_marks_stale = true,
                                   .bookmark_count = &NAACCRLayout::MedTableCnt,
                                   .add_new_opens = true,
                                   .save_source = "QMData.Tumor.",
                                   .update_error = 1502,
                                   .cancel_error = 1503};

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

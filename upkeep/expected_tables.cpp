#include "upkeep/expected_tables.h"

namespace qm {

const std::vector<ExpectedTable>& RegistryTablesExpected() {
  static const std::vector<ExpectedTable> kTables = {
      {"Abstracts",
       {"AbsRefID", "PatientID", "MedRefID", "Remarks", "AbstractLockedBy", "AbstractLockedT",
        "race1", "sex", "lastname", "firstname", "middlename", "birthdate", "socsec"}},
      {"Patients",
       {"PatientID", "Soundex", "CaseLockedBy", "CaseLockedTime", "race1", "sex", "lastname",
        "firstname", "middlename", "birthdate", "socsec"}},
      {"MedicalSum", {"MedRefID", "PatientID"}},
      {"BaseIDs", {"BaseIDName", "BaseID"}},
      {"USERS", {"USERID", "NAME"}},
      {"LOCKMANAGER", {"TABLENAME", "LOCKSTATUS", "USERID"}},
      {"CRITICALFIELDS", {"NAACCR_Item_No", "projectID"}},
      {"Display", {"DisplayID", "Name"}},
      {"displayfields",
       {"displayid", "NAACCR_Item_no", "Default", "Protected", "FieldSequence", "Invisible"}},
      {"tblBlockingParameters", {"AbstractField", "PatientField", "ignorevalues"}},
      {"tblMatchingParameters",
       {"FieldName", "Weight", "MissingValues", "ExactMatch", "StringComparatorParam", "AliasName",
        "ignore"}},
      {"tblTLCParameters", {"PotentialPatientMatch"}}};
  return kTables;
}

const std::vector<ExpectedTable>& ControlTablesExpected() {
  static const std::vector<ExpectedTable> kTables = {
      {"NAACCRParameters",
       {"NAACCRVersion", "ControlTableName", "NAACCRDATAEXCHG", "NAACCRGLOBALVALUES",
        "NAACCRMetaFile"}},
      {"NAACCR Versions",
       {"VersionID", "LenAbstract", "LenIncidence", "LenConfidential", "ColVersionID", "ColRecType",
        "ColProjects"}}};
  return kTables;
}

const std::vector<std::string_view>& FieldTableColumns() {
  static const std::vector<std::string_view> kColumns = {
      "NAACCR_Item_No", "FieldName",     "Description", "Prompting", "ColumnStart",
      "FieldLength",    "Justification", "vlmAbsTable", "PatTable",  "MedTable",
      "vlmAbsGrid",     "patGrid",       "medGrid",     "Protected", "UnknownValues",
      "PromptingValue", "CTL_Array_vlm", "CTL_Array_ts"};
  return kColumns;
}

}  // namespace qm

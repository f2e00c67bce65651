#include "review/link_rows.h"

#include <qm/connection.h>
#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/recordset.h>

#include <algorithm>
#include <iterator>

#include "datasets/import_digest.h"
#include "runtime/text.h"
#include "session/session_state.h"

namespace qm {

namespace {

constexpr std::string_view kLockColumns[] = {"CaseLockedBy", "CaseLockedTime"};

std::string LinkQuery(std::int32_t abstract_id) {
  return "SELECT * FROM QMLinks WHERE AbsRefID = " + std::to_string(abstract_id);
}

std::shared_ptr<Recordset> OpenRows(const std::string& query) {
  const auto& registry = CurrentSession().gcnRegistry.Get();
  auto rows = registry->CreateRecordset();
  rows->Open(query, registry, kOpenKeyset, kLockOptimistic);
  return rows;
}

bool IsLockColumn(const std::string& name) {
  return std::any_of(std::begin(kLockColumns), std::end(kLockColumns),
                     [&](std::string_view lock) { return EqualsIgnoreCase(lock, name); });
}

std::string TableAndKey(const RecordFamily& family, int table, std::int32_t id) {
  return TableName(family.table, table) + " WHERE " + std::string(family.key) + " = " +
         std::to_string(id);
}

// With its length before it, so that no two rows read alike.
void AddTo(Digest& digest, std::string_view text) {
  digest.Update(std::to_string(text.size()) + ":");
  digest.Update(text);
}

}  // namespace

std::optional<LinkRow> ReadLink(std::int32_t abstract_id) {
  const auto row = OpenRows(LinkQuery(abstract_id));
  if (row->Eof()) return std::nullopt;
  LinkRow link;
  link.abstract_id = abstract_id;
  link.patient_id = ToInt32(row->Value("PatientID"));
  link.tumor_id = ToInt32(row->Value("MedRefID"));
  link.new_patient = ToBool(row->Value("NewPatient"));
  link.new_tumor = ToBool(row->Value("NewTumor"));
  link.former_patient = row->Value("FormerPatientID");
  link.former_tumor = row->Value("FormerMedRefID");
  link.patient_digest = ToTextOrEmpty(row->Value("PatientDigest"));
  link.tumor_digest = ToTextOrEmpty(row->Value("TumorDigest"));
  return link;
}

void WriteLink(const LinkRow& link, bool is_new) {
  const auto row = OpenRows(LinkQuery(link.abstract_id));
  if (is_new) {
    row->AddNew();
    row->SetValue("AbsRefID", link.abstract_id);
  }
  row->SetValue("PatientID", link.patient_id);
  row->SetValue("MedRefID", link.tumor_id);
  row->SetValue("NewPatient", std::int32_t{link.new_patient ? 1 : 0});
  row->SetValue("NewTumor", std::int32_t{link.new_tumor ? 1 : 0});
  row->SetValue("FormerPatientID", link.former_patient);
  row->SetValue("FormerMedRefID", link.former_tumor);
  row->SetValue("PatientDigest", link.patient_digest);
  row->SetValue("TumorDigest", link.tumor_digest);
  try {
    row->Update();
  } catch (const Error& error) {
    row->CancelUpdate();
    if (!is_new || error.number() != kErrIntegrity) throw;
    throw Error(
        kErrKeyInUse, "QMDataObjects2",
        "abstract " + std::to_string(link.abstract_id) + " is being linked by another user");
  }
  row->Close();
}

void DeleteLink(std::int32_t abstract_id) {
  CurrentSession().gcnRegistry.Get()->Execute("DELETE FROM QMLinks WHERE AbsRefID = " +
                                              std::to_string(abstract_id));
}

std::string RowsDigest(const RecordFamily& family, const NAACCRLayout& layout, std::int32_t id) {
  Digest digest;
  for (int table = 1; table <= (layout.*family.table_count)(); ++table) {
    const auto rows = CurrentSession().gcnRegistry.Get()->Execute("SELECT * FROM " +
                                                                  TableAndKey(family, table, id));
    for (const Recordset& row : rows->Rows()) {
      AddTo(digest, TableName(family.table, table));
      for (int i = 0; i < row.FieldCount(); ++i) {
        const Variant value = row.Value(i);
        if (value.IsNull() || IsLockColumn(row.FieldName(i))) continue;
        AddTo(digest, row.FieldName(i));
        AddTo(digest, ToText(value));
      }
    }
    rows->Close();
  }
  return digest.Finish();
}

void DeleteRows(const RecordFamily& family, const NAACCRLayout& layout, std::int32_t id) {
  for (int table = (layout.*family.table_count)(); table >= 1; --table) {
    CurrentSession().gcnRegistry.Get()->Execute("DELETE FROM " + TableAndKey(family, table, id));
  }
}

}  // namespace qm

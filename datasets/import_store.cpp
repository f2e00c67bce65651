#include "datasets/import_store.h"

#include <qm/connection.h>
#include <qm/error.h>

#include <algorithm>
#include <string>

#include "layout/layout_lists.h"
#include "session/session_state.h"

namespace qm {

namespace {

constexpr const char* kCounter = "AbsRefID";
constexpr const char* kMemoColumn = "Remarks";

std::int32_t NextIdentifier(QMDataSets& data_sets) {
  const std::int32_t id = data_sets.BaseID(kCounter);
  if (id < 1) {
    throw Error(kErrNoCurrentRecord, "QMDataObjects2",
                std::string("the counter ") + kCounter + " of BaseIDs gives no identifier: " +
                    (id == 0 ? "it is not there" : "it stays locked"));
  }
  return id;
}

std::shared_ptr<Recordset> OpenForEdit(const std::string& query) {
  const auto& registry = CurrentSession().gcnRegistry.Get();
  auto rows = registry->CreateRecordset();
  rows->Open(query, registry, kOpenKeyset, kLockOptimistic);
  return rows;
}

const std::string& ValueOf(const RecordValues& values, std::int16_t field) {
  static const std::string empty;
  const auto found =
      std::lower_bound(values.begin(), values.end(), field,
                       [](const auto& value, std::int16_t wanted) { return value.first < wanted; });
  return found != values.end() && found->first == field ? found->second : empty;
}

// The same rows as AddAbstract's, without any value inside a statement.
void AddRows(const ImportRecord& record, std::int32_t id) {
  const NAACCRLayout& layout = record.layout->Layout();
  for (int table = 1; table <= kAbstractTables; ++table) {
    const auto rows = OpenForEdit("SELECT * FROM Abstracts" +
                                  (table == 1 ? "" : "_" + std::to_string(table)) + " WHERE 1 = 2");
    rows->AddNew();
    rows->SetValue("AbsRefID", id);
    for (const std::int16_t field : AbstractColumns(layout, table).fields) {
      rows->SetValue(layout.FieldName(field), ValueOf(record.values, field));
    }
    rows->Update();
    rows->Close();
  }
}

void StoreTexts(const ImportRecord& record, std::int32_t id) {
  const NAACCRLayout& layout = record.layout->Layout();
  if (layout.TextFieldsCount() == 0) return;
  std::string memo;
  layout.CompressMemoText(memo, record.texts);
  const auto row = OpenForEdit(std::string("SELECT AbsRefID, ") + kMemoColumn +
                               " FROM Abstracts WHERE AbsRefID = " + std::to_string(id));
  row->SetValue(kMemoColumn, memo);
  row->Update();
  row->Close();
}

}  // namespace

std::int32_t StoreImportRecord(const ImportRecord& record) {
  QMDataSets& data_sets = record.layout->DataSets();
  const std::int32_t id = NextIdentifier(data_sets);
  const bool apostrophe =
      std::any_of(record.values.begin(), record.values.end(),
                  [](const auto& value) { return value.second.find('\'') != std::string::npos; });
  if (apostrophe || record.fixed_width.empty()) {
    AddRows(record, id);
  } else {
    data_sets.AddAbstract(record.fixed_width, false, {}, id);
  }
  StoreTexts(record, id);
  return id;
}

}  // namespace qm

#include "datasets/import_store.h"

#include <algorithm>
#include <string>

#include "datasets/abstract_inserts.h"
#include "datasets/base_id.h"
#include "datasets/family_tables.h"
#include "layout/layout_lists.h"

namespace qm {

namespace {

constexpr const char* kCounter = "AbsRefID";

// The same rows as AddAbstract's, without any value inside a statement.
void AddRows(const ImportRecord& record, std::int32_t id) {
  const NAACCRLayout& layout = record.layout->Layout();
  for (int table = 1; table <= kAbstractTables; ++table) {
    const auto rows = OpenFamilyTable(kAbstractFamily, table, "1 = 2");
    rows->AddNew();
    rows->SetValue(kAbstractFamily.key, id);
    SetAbstractColumns(*rows, layout, table, record.values);
    rows->Update();
    rows->Close();
  }
}

void StoreTexts(const ImportRecord& record, std::int32_t id) {
  const NAACCRLayout& layout = record.layout->Layout();
  if (layout.TextFieldsCount() == 0) return;
  const auto row =
      OpenFamilyTable(kAbstractFamily, 1, "AbsRefID = " + std::to_string(id), kMemoColumn);
  SetTexts(*row, layout, record.texts);
  row->Update();
  row->Close();
}

}  // namespace

std::int32_t StoreImportRecord(const ImportRecord& record) {
  const NAACCRLayout& layout = record.layout->Layout();
  const std::int32_t id = RequireNextBaseID(kCounter);
  const bool apostrophe =
      std::any_of(record.values.begin(), record.values.end(),
                  [](const auto& value) { return value.second.find('\'') != std::string::npos; });
  if (apostrophe) {
    AddRows(record, id);
  } else {
    InsertAbstractRows(layout, record.values, id);
  }
  StoreTexts(record, id);
  return id;
}

}  // namespace qm

#include "datasets/family_tables.h"

#include <algorithm>

#include <qm/connection.h>

#include "layout/layout_lists.h"
#include "session/session_state.h"

namespace qm {

namespace {

const std::string& ValueOf(const RecordValues& values, std::int16_t field) {
  static const std::string empty;
  const auto found =
      std::lower_bound(values.begin(), values.end(), field,
                       [](const auto& value, std::int16_t wanted) { return value.first < wanted; });
  return found != values.end() && found->first == field ? found->second : empty;
}

}  // namespace

std::shared_ptr<Recordset> OpenFamilyTable(const RecordFamily& family, int table,
                                           std::string_view condition, std::string_view columns) {
  const auto& registry = CurrentSession().gcnRegistry.Get();
  auto rows = registry->CreateRecordset();
  std::string query("SELECT ");
  query.append(columns).append(" FROM ").append(TableName(family.table, table));
  query.append(" WHERE ").append(condition);
  rows->Open(query, registry, kOpenKeyset, kLockOptimistic);
  return rows;
}

void SetAbstractColumns(Recordset& row, const NAACCRLayout& layout, int table,
                        const RecordValues& values) {
  for (const std::int16_t field : AbstractColumns(layout, table).fields) {
    row.SetValue(layout.FieldName(field), ValueOf(values, field));
  }
}

void SetTexts(Recordset& row, const NAACCRLayout& layout, const std::vector<std::string>& texts) {
  if (layout.TextFieldsCount() == 0) return;
  std::string memo;
  layout.CompressMemoText(memo, texts);
  row.SetValue(kMemoColumn, memo);
}

}  // namespace qm

#include <array>
#include <string>

#include <qm/data_sets.h>

#include "datasets/abstract_inserts.h"
#include "datasets/data_sets_state.h"
#include "datasets/record_values.h"
#include "layout/field_format.h"
#include "layout/layout_lists.h"
#include "layout/layout_state.h"
#include "layout/record_columns.h"
#include "records/record_family.h"
#include "runtime/text.h"
#include "session/session_state.h"

namespace qm {

namespace {

constexpr std::size_t kDisplayDateLength = 10;

// The stored form of a full display date; what is no date stays as the pattern left it.
std::string StoredDate(std::string_view columns) {
  std::string value = FormatDate(ApplyDatePattern(columns), "D");
  const bool display = value.size() == kDisplayDateLength && value[2] == '/' && value[5] == '/';
  if (!display) return value;
  std::string stored = FormatDate(value, "M");
  return stored == "H" ? value : stored;
}

}  // namespace

RecordValues CutRecord(const NAACCRLayout& layout, std::string_view record) {
  const RecordColumns columns(record);
  const auto fields = LayoutAccess::Arrays(layout);
  const std::int16_t count = layout.FieldsCount();
  RecordValues values;
  values.reserve(static_cast<std::size_t>(count));
  for (std::int16_t i = 1; i <= count; ++i) {
    const auto k = static_cast<std::size_t>(i);
    if (fields->sField_Type[k] == "X" || EqualsIgnoreCase(fields->sField_Name[k], "AbsRefID")) {
      continue;
    }
    const auto value = Trim(columns.Cut(fields->iField_Start[k], fields->iField_Len[k]));
    if (fields->sField_Just[k] == "D") {
      values.emplace_back(i, StoredDate(value));
    } else {
      std::string& kept = values.emplace_back(i, std::string()).second;
      if (!value.empty()) AppendPadded(kept, value, fields->sField_Just[k], fields->iField_Len[k]);
    }
  }
  return values;
}

void InsertAbstractRows(const NAACCRLayout& layout, const RecordValues& values, std::int32_t key) {
  std::vector<const std::string*> by_field(static_cast<std::size_t>(layout.FieldsCount()) + 1);
  for (const auto& [index, value] : values) At(by_field, index) = &value;
  std::array<std::string, kAbstractTables> statements;
  for (int table = 1; table <= kAbstractTables; ++table) {
    const ColumnList& list = AbstractColumns(layout, table);
    std::string& statement = At(statements, table - 1);
    constexpr std::size_t kShortValue = 12;
    statement.reserve(list.columns.size() + kShortValue * list.fields.size() + 100);
    statement.append("INSERT INTO ").append(TableName(kAbstractFamily.table, table));
    statement.append(" (").append(list.columns).append(") values (").append(std::to_string(key));
    for (const std::int16_t index : list.fields) {
      const std::string* value = At(by_field, index);
      if (value == nullptr || value->empty()) {
        statement += ", ''";
      } else {
        statement.append(", '").append(*value).append("'");
      }
    }
    statement += ')';
  }
  const auto& registry = CurrentSession().gcnRegistry.Get();
  for (const std::string& statement : statements) registry->Execute(statement);
}

std::optional<Abstract> QMDataSets::AddAbstract(std::string_view strNAACCRRec,
                                                bool /*blnUseDefaultProject*/,
                                                std::span<const std::int16_t> /*importprojects*/,
                                                std::int32_t AbsRefID) {
  const NAACCRLayout& layout = *state_->Layout();
  InsertAbstractRows(layout, CutRecord(layout, strNAACCRRec), AbsRefID);
  return std::nullopt;
}

}  // namespace qm

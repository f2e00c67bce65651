#include <array>
#include <string>

#include <qm/data_sets.h>

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
  RecordValues values;
  values.reserve(static_cast<std::size_t>(layout.FieldsCount()));
  for (std::int16_t i = 1; i <= layout.FieldsCount(); ++i) {
    const auto k = static_cast<std::size_t>(i);
    if (fields->sField_Type[k] == "X" || EqualsIgnoreCase(fields->sField_Name[k], "AbsRefID")) {
      continue;
    }
    const auto value = Trim(columns.Cut(fields->iField_Start[k], fields->iField_Len[k]));
    if (fields->sField_Just[k] == "D") {
      values.emplace_back(i, StoredDate(value));
    } else if (value.empty()) {
      values.emplace_back(i, std::string());
    } else {
      values.emplace_back(i, PadValue(value, fields->sField_Just[k], fields->iField_Len[k]));
    }
  }
  return values;
}

// Values stand in the statements as they are, so one with an apostrophe breaks its statement.
std::optional<Abstract> QMDataSets::AddAbstract(std::string_view strNAACCRRec,
                                                bool /*blnUseDefaultProject*/,
                                                std::span<const std::int16_t> /*importprojects*/,
                                                std::int32_t AbsRefID) {
  const NAACCRLayout& layout = *state_->Layout();
  std::vector<std::string> by_field(static_cast<std::size_t>(layout.FieldsCount()) + 1);
  for (auto& [index, value] : CutRecord(layout, strNAACCRRec)) At(by_field, index).swap(value);
  std::array<std::string, kAbstractTables> statements;
  for (int table = 1; table <= kAbstractTables; ++table) {
    const ColumnList& list = AbstractColumns(layout, table);
    std::string& statement = At(statements, table - 1);
    statement = "INSERT INTO " + TableName(kAbstractFamily.table, table) + " (" + list.columns +
                ") values (" + std::to_string(AbsRefID);
    for (const std::int16_t index : list.fields) statement += ", '" + At(by_field, index) + "'";
    statement += ")";
  }
  const auto& registry = CurrentSession().gcnRegistry.Get();
  for (const std::string& statement : statements) registry->Execute(statement);
  return std::nullopt;
}

}  // namespace qm

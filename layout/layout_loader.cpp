#include "layout/layout_loader.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <qm/conversions.h>
#include <qm/recordset.h>

#include "layout/layout_state.h"
#include "layout/table_code.h"
#include "runtime/text.h"
#include "session/session_state.h"

namespace qm {

namespace {

constexpr std::string_view kKeyColumn = "AbsRefID";

std::int16_t NullAsZero(const Variant& value) {
  return value.IsNull() ? std::int16_t{0} : ToInt16(value);
}

// By way of its text, in which Null, and Empty, are no number.
std::int16_t ItemNumber(const Variant& value) {
  const bool number = value.GetIf<std::int32_t>() != nullptr;
  return number ? ToInt16(value) : ToInt16(ToTextOrEmpty(value));
}

std::shared_ptr<Recordset> OpenStatic(const std::string& sql) {
  const auto& control = CurrentSession().gcnControl.Get();
  auto rows = control->CreateRecordset();
  rows->Open(sql, control, kOpenStatic, kLockReadOnly, kOptionsUnspecified);
  return rows;
}

// The number of tables when `largest` is the largest table code: the bit positions up to it.
std::int16_t TableCount(std::int16_t largest) {
  if (largest < 1) RaiseRunTime(kErrInvalidCall);  // there is no logarithm
  return NarrowInt16(std::floor(std::log(largest) / std::log(2.0)) + 1);
}

void Dimension(ControlArrays& arrays, std::size_t size) {
  for (auto texts :
       {&ControlArrays::sField_Name, &ControlArrays::sField_Type, &ControlArrays::sField_Desc,
        &ControlArrays::sField_Just, &ControlArrays::sField_DefaultVal}) {
    (arrays.*texts).resize(size);
  }
  for (auto numbers :
       {&ControlArrays::iField_Num, &ControlArrays::iField_Start, &ControlArrays::iField_Len,
        &ControlArrays::iMedTable, &ControlArrays::iPatTable, &ControlArrays::iAbstable,
        &ControlArrays::iMedTableNo, &ControlArrays::iPatTableNo, &ControlArrays::iAbsTableNo,
        &ControlArrays::iField_Protected, &ControlArrays::iField_Invisible,
        &ControlArrays::iField_Critical, &ControlArrays::iField_Row}) {
    (arrays.*numbers).resize(size);
  }
}

// A column of the field table: its place is looked up once. One that the table lacks fails, by its
// name, where it is read.
class FieldColumn {
 public:
  FieldColumn(const Recordset& rows, const char* name)
      : name_(name), ordinal_(rows.FieldOrdinal(name)) {}
  Variant Of(const Recordset& row) const {
    return ordinal_ < 0 ? row.Value(name_) : row.Value(ordinal_);
  }

 private:
  const char* name_;
  int ordinal_;
};

struct FieldTable {
  const Recordset& rows;
  FieldColumn item_number{rows, "NAACCR_Item_No"};
  FieldColumn name{rows, "FieldName"};
  FieldColumn description{rows, "Description"};
  FieldColumn prompting{rows, "Prompting"};
  FieldColumn prompting_value{rows, "PromptingValue"};
  FieldColumn length{rows, "FieldLength"};
  FieldColumn start{rows, "columnstart"};
  FieldColumn justification{rows, "Justification"};
  FieldColumn is_protected{rows, "Protected"};
  FieldColumn unknown_values{rows, "UnknownValues"};
  FieldColumn patient_grid{rows, "patGrid"};
  FieldColumn medical_grid{rows, "medGrid"};
  FieldColumn abstract_grid{rows, "vlmabsgrid"};
  FieldColumn patient_table{rows, "pattable"};
  FieldColumn medical_table{rows, "MedTable"};
  FieldColumn abstract_table{rows, "vlmabstable"};
};

// One load into a layout's state. Members run in the order of their declaration.
template <typename State>
class FieldLoad {
 public:
  explicit FieldLoad(State& state) : state_(state), first_load_(state.AbsTableCnt == 0) {}

  void Run(std::string_view order_by) {
    const bool registry_application = UpperCase(CurrentSession().gstrApplicationName) == "VELMORA";
    const std::string from = " from " + state_.ControlTable;
    const auto count =
        OpenStatic("SELECT count(*)" + from +
                   (registry_application ? " WHERE Prompting = 'X' AND CTL_Array_vlm = -1"
                                         : " WHERE prompting = 'X' AND CTL_Array_ts = -1"));
    state_.TextFieldsCount = ToInt16(count->Value(0));
    const auto fields = OpenStatic("Select *" + from +
                                   (registry_application ? " where CTL_Array_vlm = -1 order by "
                                                         : " where CTL_Array_ts = -1 order by ") +
                                   std::string(order_by));
    if (fields->RecordCount() == 0) RaiseRunTime(kErrDivisionByZero);
    Start(static_cast<std::size_t>(NarrowInt16(static_cast<double>(fields->RecordCount()))) + 1);
    const FieldTable columns{*fields};
    for (; !fields->Eof(); fields->MoveNext()) LoadRow(*fields, columns);
    fields->Close();
    RankTextFields();
    if (first_load_) {
      state_.AbsTableCnt = TableCount(largest_abstract_);
      state_.PatTableCnt = TableCount(largest_patient_);
      state_.MedTableCnt = TableCount(largest_medical_);
    }
  }

 private:
  void Start(std::size_t size) {
    state_.FieldsCount = 0;
    state_.lookups = {};
    state_.arrays = std::make_shared<ControlArrays>();
    Dimension(*state_.arrays, size);
    for (auto texts : {&state_.fieldvalue, &state_.FieldPromptingValue, &state_.UnknownValues}) {
      texts->assign(size, {});
    }
    for (auto slots : {&state_.TextItemNo, &state_.TextFieldPos, &state_.TextFieldByItemNo,
                       &state_.TextPosByItemNo}) {
      slots->fill(0);
    }
    state_.abstract_columns.emplace();
    for (ColumnList& list : *state_.abstract_columns) list.columns = kKeyColumn;
    CurrentSession().AbsTableFieldList.fill(std::string(kKeyColumn));
  }

  // Text fields take the first indexes, in query order; the others follow in query order.
  void LoadRow(const Recordset& row, const FieldTable& columns) {
    state_.FieldsCount = NarrowInt16(state_.FieldsCount + 1.0);
    const bool text_field = ToTextOrEmpty(columns.prompting.Of(row)) == "X";
    std::int16_t i = 0;
    if (text_field) {
      i = ++texts_;
      At(state_.TextItemNo, i) = ToInt16(columns.item_number.Of(row));
      At(state_.TextFieldPos, i) = state_.FieldsCount;
    } else {
      i = NarrowInt16(static_cast<double>(state_.TextFieldsCount) + ++others_);
    }
    At(state_.fieldvalue, i).clear();  // beyond the arrays nothing is listed either
    if (!text_field) List(i, row, columns);
    FillElement(static_cast<std::size_t>(i), row, columns);
  }

  void List(std::int16_t i, const Recordset& row, const FieldTable& columns) {
    const int table = AbstractTableOfCode(NullAsZero(columns.abstract_table.Of(row)));
    const std::string name = ToText(columns.name.Of(row));
    if (table == 0 || EqualsIgnoreCase(name, kKeyColumn)) return;
    ColumnList& list = At(*state_.abstract_columns, table - 1);
    list.columns.append(",").append(name);
    list.fields.push_back(i);
    At(CurrentSession().AbsTableFieldList, table - 1).append(",").append(name);
  }

  void FillElement(std::size_t i, const Recordset& row, const FieldTable& columns) {
    ControlArrays& to = *state_.arrays;
    to.iField_Num[i] = ItemNumber(columns.item_number.Of(row));
    to.sField_Desc[i] = ToTextOrEmpty(columns.description.Of(row));
    to.sField_Name[i] = ToText(columns.name.Of(row));
    to.sField_Type[i] = ToTextOrEmpty(columns.prompting.Of(row));
    to.iField_Len[i] = NullAsZero(columns.length.Of(row));
    to.iPatTable[i] = ToInt16(columns.patient_grid.Of(row));
    to.iMedTable[i] = ToInt16(columns.medical_grid.Of(row));
    to.iAbstable[i] = ToInt16(columns.abstract_grid.Of(row));
    to.iField_Protected[i] = ToInt16(columns.is_protected.Of(row));
    to.iField_Start[i] = NullAsZero(columns.start.Of(row));
    to.sField_Just[i] = ToTextOrEmpty(columns.justification.Of(row));
    const auto table = [&](const FieldColumn& column) {
      return first_load_ ? NullAsZero(column.Of(row)) : std::int16_t{1};
    };
    to.iAbsTableNo[i] = table(columns.abstract_table);
    to.iPatTableNo[i] = table(columns.patient_table);
    to.iMedTableNo[i] = table(columns.medical_table);
    state_.UnknownValues[i] = ToTextOrEmpty(columns.unknown_values.Of(row));
    to.iField_Row[i] = -1;
    state_.FieldPromptingValue[i] = ToTextOrEmpty(columns.prompting_value.Of(row));
    largest_abstract_ = std::max(largest_abstract_, to.iAbsTableNo[i]);
    largest_patient_ = std::max(largest_patient_, to.iPatTableNo[i]);
    largest_medical_ = std::max(largest_medical_, to.iMedTableNo[i]);
  }

  // Equal item numbers keep their order.
  void RankTextFields() {
    std::vector<std::int16_t> order;
    for (std::int16_t k = 1; k <= state_.TextFieldsCount; ++k) {
      At(state_.TextItemNo, k);
      order.push_back(k);
    }
    std::stable_sort(order.begin(), order.end(), [&](std::int16_t a, std::int16_t b) {
      return At(state_.TextItemNo, a) < At(state_.TextItemNo, b);
    });
    std::int16_t rank = 0;
    for (const std::int16_t k : order) {
      ++rank;
      At(state_.TextFieldByItemNo, rank) = k;
      At(state_.TextPosByItemNo, rank) = At(state_.TextFieldPos, k);
    }
  }

  State& state_;
  const bool first_load_;
  std::int16_t texts_ = 0;
  std::int16_t others_ = 0;
  std::int16_t largest_abstract_ = 0;
  std::int16_t largest_patient_ = 0;
  std::int16_t largest_medical_ = 0;
};

}  // namespace

void LayoutLoader::SetVersion(NAACCRLayout& layout, std::string_view version) {
  layout.state_->Version = version;
}

void LayoutLoader::SetControlTable(NAACCRLayout& layout, std::string_view table) {
  layout.state_->ControlTable = table;
}

void LayoutLoader::LoadNCCRFields(NAACCRLayout& layout, std::string_view strOrderBy) {
  NAACCRLayout::State& state = *layout.state_;
  const auto index_loaded_fields = [&state] {
    state.lookups =
        LayoutLookups(state.arrays->sField_Name, state.arrays->iField_Num, state.FieldsCount);
  };
  try {
    FieldLoad(state).Run(strOrderBy);
  } catch (const Error&) {
    index_loaded_fields();
    RaiseRunTime(kErrNoSuchMember);
  }
  index_loaded_fields();
}

}  // namespace qm

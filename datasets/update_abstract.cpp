#include <array>
#include <string>
#include <vector>

#include <qm/data_sets.h>
#include <qm/error.h>

#include "datasets/data_sets_state.h"
#include "datasets/family_tables.h"
#include "datasets/record_values.h"
#include "layout/layout_lists.h"
#include "layout/layout_state.h"

namespace qm {

// All rows are there before any is written.
void QMDataSets::UpdateAbstract(std::int32_t lAbsRefID, std::string_view strBuffer) {
  const NAACCRLayout& layout = *state_->Layout();
  const RecordValues values = CutRecord(layout, strBuffer);
  std::vector<std::string> texts;
  layout.GetTextFromNAACCRRec(strBuffer, texts);
  std::array<std::shared_ptr<Recordset>, kAbstractTables> rows;
  for (int table = 1; table <= kAbstractTables; ++table) {
    auto& row = At(rows, table - 1);
    row = OpenFamilyTable(kAbstractFamily, table, "AbsRefID = " + std::to_string(lAbsRefID));
    if (row->Eof()) {
      throw Error(kErrNoCurrentRecord, "QMDataObjects2",
                  "abstract " + std::to_string(lAbsRefID) +
                      (table == 1 ? " does not exist"
                                  : " has no row in " + TableName(kAbstractFamily.table, table)));
    }
    SetAbstractColumns(*row, layout, table, values);
    if (table == 1) SetTexts(*row, layout, texts);
  }
  for (const auto& row : rows) row->Update();
}

}  // namespace qm

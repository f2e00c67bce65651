#include "datasets/new_record.h"

#include <string>

#include <qm/conversions.h>
#include <qm/error.h>

#include "datasets/family_tables.h"
#include "layout/layout_state.h"
#include "layout/table_code.h"
#include "session/session_state.h"

namespace qm {

namespace {

// Reads an abstract as it is stored, whatever its setting.
class StoredValues {
 public:
  explicit StoredValues(Abstract& source)
      : source_(source),
        formats_(source.AutoFormatValues()),
        key_(ToText(source.Recordset(1)->Value(kAbstractFamily.key))) {
    source_.SetAutoFormatValues(false);
  }
  ~StoredValues() { source_.SetAutoFormatValues(formats_); }
  StoredValues(const StoredValues&) = delete;
  StoredValues& operator=(const StoredValues&) = delete;

  Variant Value(const std::string& field, int table) {
    try {
      return source_.FieldByName(field);
    } catch (const Error& failure) {
      if (failure.number() != kErrNoCurrentRecord) throw;
      throw Error(kErrNoCurrentRecord, "QMDataObjects2",
                  "abstract " + key_ + " has no row in " + TableName(kAbstractFamily.table, table));
    }
  }

 private:
  Abstract& source_;
  const bool formats_;
  const std::string key_;
};

// A row that was saved and rolled back still shows what never came to be. A tumor would go to a
// patient who is not there, and an identifier given out a second time would look as if it were
// stored already.
void RequireLinksAsShown(const Recordset& shown) {
  const std::string key = ToText(shown.Value(kAbstractFamily.key));
  const auto& registry = CurrentSession().gcnRegistry.Get();
  const auto stored = registry->CreateRecordset();
  stored->Open("SELECT PatientID, MedRefID FROM Abstracts WHERE AbsRefID = " + key, registry);
  const auto differs = [&](std::string_view column) {
    return ToTextOrEmpty(stored->Value(column)) != ToTextOrEmpty(shown.Value(column));
  };
  if (stored->Eof() || differs("PatientID") || differs("MedRefID")) {
    throw Error(kErrRowChanged, "QMDataObjects2",
                "abstract " + key + " is not linked as it was when it was read");
  }
  stored->Close();
}

}  // namespace

NewRecord::NewRecord(const RecordFamily& family, const NAACCRLayout& layout, Abstract& source)
    : family_(family) {
  StoredValues values(source);
  const auto row = source.Recordset(1);
  if (row->EditMode() == kEditNone) RequireLinksAsShown(*row);
  for (int table = 1; table <= (layout.*(family.table_count))(); ++table) {
    rows_.push_back(OpenFamilyTable(family, table, "1 = 2"));
    rows_.back()->AddNew();
  }
  if (rows_.empty()) RaiseRunTime(kErrSubscript);
  const auto fields = LayoutAccess::Arrays(layout);
  std::vector<std::string> texts(static_cast<std::size_t>(layout.TextFieldsCount()) + 1);
  bool has_texts = false;
  for (std::int16_t i = 1; i <= layout.FieldsCount(); ++i) {
    const int from = TableOfCode(At(fields->iAbsTableNo, i));
    const int to = TableOfCode(At((*fields).*(family.table_codes), i));
    const std::string& name = At(fields->sField_Name, i);
    if (At(fields->sField_Type, i) == "X") {
      if (to < 1) continue;
      At(texts, i) = ToTextOrEmpty(values.Value(name, 1));
      has_texts = true;
    } else if (from >= 1 && to >= 1) {
      At(rows_, to - 1)->SetValue(name, values.Value(name, from));
    }
  }
  if (has_texts) SetTexts(Primary(), layout, texts);
}

void NewRecord::Save(std::int32_t key) {
  for (const auto& row : rows_) {
    row->SetValue(family_.key, key);
    row->Update();
  }
}

void SetLink(Abstract& qmAbstract, std::string_view column, std::int32_t id) {
  const auto row = qmAbstract.Recordset(1);
  const bool edited = row->EditMode() != kEditNone;
  const Variant before = row->Value(column);
  row->SetValue(column, id);
  try {
    row->Update();
  } catch (const Error&) {
    // Left pending, it would be saved with the row's next edit: a link to what was rolled back.
    row->SetValue(column, before);
    throw;
  }
  if (edited) RequireLinksAsShown(*row);
}

}  // namespace qm

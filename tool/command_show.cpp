// qm show: all fields of one record.
#include <qm/conversions.h>
#include <qm/error.h>

#include <iostream>
#include <memory>
#include <set>

#include "layout/table_code.h"
#include "runtime/text.h"
#include "tool/databases.h"
#include "tool/layouts.h"
#include "tool/record_argument.h"
#include "tool/tool.h"

namespace qm::tool {

namespace {

struct ShowArguments {
  std::string family;
  std::int32_t id = 0;
  std::string version;
};

// The columns that no field of the layout stands for: key, administration, items of other layouts.
// The memo of an abstract is shown by its texts.
void WriteOwnColumns(Record& record, const NAACCRLayout& layout, bool memo_as_texts,
                     ResultWriter& results) {
  std::set<std::string> written;
  for (const auto& table : record.Recordsets()) {
    for (int i = 0; i < table->FieldCount(); ++i) {
      const std::string& name = table->FieldName(i);
      const std::int16_t index = layout.IndexByFieldName(name);
      if (index >= 1 && record.FieldTableNo(index) != 0) continue;
      if (memo_as_texts && EqualsIgnoreCase(name, "Remarks")) continue;
      if (!written.insert(UpperCase(name)).second) continue;
      results.Row({name, table->Eof() ? "" : ToTextOrEmpty(table->Value(i))});
    }
  }
}

void WriteFields(Record& record, const NAACCRLayout& layout, ResultWriter& results) {
  const auto tables = record.Recordsets();
  for (std::int16_t i = 1; i <= layout.FieldsCount(); ++i) {
    const int table = TableOfCode(record.FieldTableNo(i));
    if (table < 1 || table > static_cast<int>(tables.size())) continue;
    // A record that lacks its row in a table is shown with what there is.
    const bool missing = tables[static_cast<std::size_t>(table) - 1]->Eof();
    results.Row({layout.FieldName(i), missing ? "" : ToTextOrEmpty(record.FieldByIndex(i))});
  }
}

void Write(Record&& record, const ShowArguments& arguments, const NAACCRLayout& layout,
           const Tool& tool) {
  if (record.Eof()) RaiseMissingRecord("qm show", arguments.family, arguments.id);
  if (tool.settings.format == Format::kXml) {
    std::cout << ToText(record.GetXML()) << '\n';
    return;
  }
  ResultWriter results(std::cout, tool.settings.format, {{"Name", false}, {"Value", false}});
  WriteOwnColumns(record, layout, arguments.family == kAbstractName, results);
  WriteFields(record, layout, results);
  results.Finish();
}

void Show(const ShowArguments& arguments, Tool& tool) {
  if (arguments.id < 1) RaiseMissingRecord("qm show", arguments.family, arguments.id);
  OpenDatabase(tool, Database::kControl);
  OpenDatabase(tool, Database::kRegistry);
  QMDataSets data_sets;
  const auto layout = LoadLayout(tool, data_sets, arguments.version);
  tool.doing = [what = arguments.family + " " + std::to_string(arguments.id)] {
    return "reading " + what;
  };
  if (arguments.family == kAbstractName) {
    Write(data_sets.GetAbstract(arguments.id), arguments, *layout, tool);
  } else if (arguments.family == kPatientName) {
    Write(data_sets.GetPatient(arguments.id), arguments, *layout, tool);
  } else {
    Write(data_sets.GetTumor(arguments.id), arguments, *layout, tool);
  }
}

}  // namespace

void AddShow(CLI::App& app, Tool& tool) {
  const auto arguments = std::make_shared<ShowArguments>();
  CLI::App* command = AddCommand(app, tool, "show",
                                 "print all fields of an abstract, a patient or a tumor; xml is "
                                 "the record's own text, without escaping");
  AddRecordArguments(*command, arguments->family, arguments->id,
                     {kAbstractName, kPatientName, kTumorName});
  AddDatabaseOptions(*command, tool);
  AddFormatOption(*command, tool, true);
  AddLayoutOption(*command, arguments->version);
  command->callback([arguments, &tool] {
    RequireDatabase(tool.settings, Database::kRegistry);
    RequireDatabase(tool.settings, Database::kControl);
    tool.run = [arguments, &tool] { Show(*arguments, tool); };
  });
}

}  // namespace qm::tool

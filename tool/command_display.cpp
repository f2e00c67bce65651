// qm display: a stored selection of items, field by field, or the list of all.
#include <qm/conversions.h>

#include <charconv>
#include <iostream>
#include <memory>
#include <optional>

#include "tool/databases.h"
#include "tool/layouts.h"
#include "tool/record_argument.h"
#include "tool/tool.h"

namespace qm::tool {

namespace {

constexpr const char* kAllDisplays = "SELECT DisplayID, Name FROM Display ORDER BY DisplayID";

struct DisplayArguments {
  std::optional<std::int32_t> id;
  std::string version;
};

void ListDisplays(QMDataSets& data_sets, const Tool& tool) {
  const auto displays = data_sets.GetRecordset(kAllDisplays);
  ResultWriter results(std::cout, tool.settings.format, {{"ID", true}, {"Name", false}});
  for (auto& row : displays->Rows()) {
    results.Row({ToText(row.Value("DisplayID")), ToTextOrEmpty(row.Value("Name"))});
  }
  results.Finish();
}

bool IsStored(QMDataSets& data_sets, std::int32_t id) {
  const auto displays = data_sets.GetRecordset(kAllDisplays);
  for (auto& row : displays->Rows()) {
    if (ToInt32(row.Value("DisplayID")) == id) return true;
  }
  return false;
}

// The layout's field of that item number, or -1: a display may name items of other layouts.
std::int16_t IndexOfItem(const NAACCRLayout& layout, const std::string& number) {
  std::int16_t item = 0;
  const char* end = number.data() + number.size();
  const auto [rest, failure] = std::from_chars(number.data(), end, item);
  return failure == std::errc() && rest == end ? layout.IndexByNAACCRItemNo(item)
                                               : std::int16_t{-1};
}

void PrintDisplay(const DisplayArguments& arguments, Tool& tool) {
  OpenDatabase(tool, Database::kRegistry);
  QMDataSets data_sets;
  if (!arguments.id) {
    ListDisplays(data_sets, tool);
    return;
  }
  if (!IsStored(data_sets, *arguments.id)) {
    RaiseMissingRecord("qm display", "display", *arguments.id);
  }
  OpenDatabase(tool, Database::kControl);
  const auto layout = LoadLayout(tool, data_sets, arguments.version);
  const Display display = data_sets.LoadDisplay(NarrowInt16(*arguments.id));
  ResultWriter results(std::cout, tool.settings.format,
                       {{"Display", false},
                        {"Sequence", true},
                        {"Item", true},
                        {"Name", false},
                        {"Description", false},
                        {"Hidden", false},
                        {"Protected", false},
                        {"Default", false}});
  for (const DisplayField& field : display) {
    const std::int16_t index = IndexOfItem(*layout, field.FieldNumber());
    results.Row({display.Name(), std::to_string(field.Sequence()), field.FieldNumber(),
                 index < 1 ? "" : layout->FieldName(index),
                 index < 1 ? "" : layout->FieldDescription(index), field.Invisible() ? "yes" : "no",
                 field.Protected() ? "yes" : "no", field.Default()});
  }
  results.Finish();
}

}  // namespace

void AddDisplay(CLI::App& app, Tool& tool) {
  const auto arguments = std::make_shared<DisplayArguments>();
  CLI::App* command = AddCommand(app, tool, "display",
                                 "print the fields of a display, a stored selection of items for "
                                 "a screen; without ID all displays");
  command->add_option("ID", arguments->id, "the display's identifier")->type_name("");
  AddDatabaseOptions(*command, tool);
  AddFormatOption(*command, tool);
  AddLayoutOption(*command, arguments->version);
  command->callback([arguments, &tool] {
    RequireDatabase(tool.settings, Database::kRegistry);
    if (arguments->id) RequireDatabase(tool.settings, Database::kControl);
    tool.run = [arguments, &tool] { PrintDisplay(*arguments, tool); };
  });
}

}  // namespace qm::tool

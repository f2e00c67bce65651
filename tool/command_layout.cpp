// qm layout: the fields of a record layout, or one of them.
#include <qm/error.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <iostream>
#include <memory>

#include "tool/databases.h"
#include "tool/layouts.h"
#include "tool/terminal.h"
#include "tool/tool.h"

namespace qm::tool {

namespace {

struct LayoutArguments {
  std::string field;
  std::string version;
};

bool IsItemNumber(const std::string& field) {
  return !field.empty() && std::all_of(field.begin(), field.end(), [](char c) {
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
  });
}

std::int16_t IndexOf(const NAACCRLayout& layout, const std::string& field) {
  if (!IsItemNumber(field)) return layout.FieldIndex(field);
  std::int16_t item = 0;
  const auto failure = std::from_chars(field.data(), field.data() + field.size(), item).ec;
  const std::int16_t index =
      failure == std::errc() ? layout.IndexByNAACCRItemNo(item) : std::int16_t{-1};
  if (index < 1) {
    throw Error(kErrNoSuchItem, "qm layout",
                "version " + layout.Version() + " has no field with item number " + field);
  }
  return index;
}

void PrintLayout(const LayoutArguments& arguments, Tool& tool) {
  OpenDatabase(tool, Database::kControl);
  QMDataSets data_sets;
  const auto layout = LoadLayout(tool, data_sets, arguments.version);

  std::int16_t first = 1;
  std::int16_t last = layout->FieldsCount();
  if (!arguments.field.empty()) first = last = IndexOf(*layout, arguments.field);
  Narrate("NAACCR version " + layout->Version() + ": " + std::to_string(layout->FieldsCount()) +
          " fields; record length I " + std::to_string(layout->LengthOfIncidence()) + ", C " +
          std::to_string(layout->LengthOfConfidential()) + ", A " +
          std::to_string(layout->LengthOfAbstract()));
  ResultWriter results(std::cout, tool.settings.format,
                       {{"Index", true},
                        {"Item", true},
                        {"Name", false},
                        {"Start", true},
                        {"Length", true},
                        {"Justification", false},
                        {"Prompting", false},
                        {"AbsTable", true},
                        {"PatTable", true},
                        {"MedTable", true},
                        {"Description", false}});
  for (std::int16_t i = first; i <= last; ++i) {
    results.Row({std::to_string(i), std::to_string(layout->FieldNumber(i)), layout->FieldName(i),
                 std::to_string(layout->FieldStart(i)), std::to_string(layout->FieldLength(i)),
                 layout->FieldJustification(i), layout->FieldPrompting(i),
                 std::to_string(layout->FieldAbsTable(i)), std::to_string(layout->FieldPatTable(i)),
                 std::to_string(layout->FieldMedTable(i)), layout->FieldDescription(i)});
  }
  results.Finish();
}

}  // namespace

void AddLayout(CLI::App& app, Tool& tool) {
  const auto arguments = std::make_shared<LayoutArguments>();
  CLI::App* command = AddCommand(app, tool, "layout",
                                 "print the fields of a record layout, by default the newest one");
  command->add_option("ITEM|NAME", arguments->field, "only this field: item number or name");
  AddDatabaseOptions(*command, tool);
  AddFormatOption(*command, tool);
  AddLayoutOption(*command, arguments->version);
  command->callback([arguments, &tool] {
    RequireDatabase(tool.settings, Database::kControl);
    tool.run = [arguments, &tool] { PrintLayout(*arguments, tool); };
  });
}

}  // namespace qm::tool

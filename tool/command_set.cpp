// qm set: edits and saves fields of one abstract, all of them or none.
#include <qm/connection.h>
#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/hooks.h>

#include <iostream>
#include <memory>
#include <vector>

#include "layout/table_code.h"
#include "records/record_family.h"
#include "runtime/text.h"
#include "tool/assignment.h"
#include "tool/databases.h"
#include "tool/layouts.h"
#include "tool/record_argument.h"
#include "tool/tool.h"

namespace qm::tool {

namespace {

// The critical fields are merged with a layout of this order.
constexpr const char* kOrder = "NAACCR_Item_No";

struct Arguments {
  std::string family;
  std::int32_t id = 0;
  std::string version;
  std::vector<std::string> assignments;
};

void Warn(const std::string& text) { std::cerr << "qm: warning: " << text << '\n'; }

// Critical fields only warn, so marks that do not fit the layout must not keep a record from being
// saved; the marks up to the one that does not fit are used.
void LoadCriticalFields(NAACCRLayout& layout) {
  const auto former = SetMessagePresenter([](const Message& message) {
    Warn(message.text);
    return message.buttons == MessageButtons::kYesNo ? MessageAnswer::kNo : MessageAnswer::kOk;
  });
  try {
    layout.LoadCriticalFields();
  } catch (const Error& error) {
    SetMessagePresenter(former);
    if (error.engine_code() != 0) throw;
    Warn("not all critical fields could be checked");
    return;
  }
  SetMessagePresenter(former);
}

// A field of the layout that abstracts hold, or a column of their own, that its table has.
bool IsAbstractField(const std::string& name, const NAACCRLayout& layout,
                     const std::vector<std::shared_ptr<Recordset>>& tables) {
  const std::int16_t index = layout.IndexByFieldName(name);
  if (index >= 1 && layout.FieldType(index) == "X") return true;
  const int table =
      index >= 1 ? TableOfCode(layout.FieldAbsTable(index)) : OwnColumnTable(kAbstractFamily, name);
  return table >= 1 && table <= static_cast<int>(tables.size()) &&
         tables[static_cast<std::size_t>(table) - 1]->FieldOrdinal(name) >= 0;
}

void RequireFields(Abstract& abstract, const NAACCRLayout& layout,
                   const std::vector<Assignment>& assignments) {
  const auto tables = abstract.Recordsets();
  for (const Assignment& assignment : assignments) {
    if (EqualsIgnoreCase(assignment.name, kAbstractFamily.key)) {
      throw Error(kErrBadArgument, "qm set",
                  "'" + assignment.name + "' is the identifier and cannot be set");
    }
    if (!IsAbstractField(assignment.name, layout, tables)) {
      throw Error(kErrNoSuchItem, "qm set", "abstracts have no field '" + assignment.name + "'");
    }
  }
}

// A value that cannot be stored as it is: a memo's separator would move the texts behind it.
void RequireText(const Assignment& assignment) {
  if (!IsValidUtf8(assignment.value) || assignment.value.find('\x02') != std::string::npos) {
    throw Error(
        kErrBadArgument, "qm set",
        "the value of '" + assignment.name + "' is no UTF-8 text, or holds the character 2");
  }
}

// A warning only, so that a field that cannot be read keeps nobody from saving.
std::string MissingCriticalFields(Abstract& abstract, const NAACCRLayout& layout) {
  std::string names;
  for (std::int16_t i = 1; i <= layout.FieldsCount(); ++i) {
    if (layout.FieldCriticalFlag(i) == 0) continue;
    try {
      if (abstract.FieldByIndex(i) != Variant("")) continue;
      names += (names.empty() ? "" : ", ") + layout.FieldName(i);
    } catch (const Error& failure) {
      if (failure.engine_code() != 0) throw;
      names += (names.empty() ? "" : ", ") + layout.FieldName(i) + " (not there)";
    }
  }
  return names;
}

void Set(const Arguments& arguments, Tool& tool) {
  const std::vector<Assignment> assignments = ReadAssignments(arguments.assignments, std::cin);
  if (arguments.id < 1) RaiseMissingRecord("qm set", arguments.family, arguments.id);
  OpenDatabase(tool, Database::kControl);
  const auto registry = OpenDatabase(tool, Database::kRegistry);
  QMDataSets data_sets;
  const auto layout = LoadLayout(tool, data_sets, arguments.version, kOrder);
  LoadCriticalFields(*layout);

  const auto field = std::make_shared<std::string>();
  tool.doing = [field, id = arguments.id] {
    return "setting " + *field + (field->empty() ? "" : " of ") + "abstract " + std::to_string(id);
  };
  Transaction transaction(registry);
  Abstract abstract = data_sets.GetAbstract(arguments.id);
  if (abstract.Eof()) {
    tool.doing = nullptr;
    RaiseMissingRecord("qm set", arguments.family, arguments.id);
  }
  RequireFields(abstract, *layout, assignments);
  for (const Assignment& assignment : assignments) {
    RequireText(assignment);
    *field = assignment.name;
    abstract.SetFieldByName(assignment.name, assignment.value);
  }
  field->clear();
  const std::string missing = MissingCriticalFields(abstract, *layout);
  abstract.Update();
  transaction.Commit();
  if (!missing.empty()) Warn("critical fields are empty: " + missing);
  std::cout << "abstract " << arguments.id << " saved\n";
}

}  // namespace

void AddSet(CLI::App& app, Tool& tool) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* command =
      AddCommand(app, tool, "set",
                 "set fields of an abstract and save it, all of them or, when one fails, none; "
                 "critical fields left empty are a warning");
  AddRecordArguments(*command, arguments->family, arguments->id, {kAbstractName});
  command
      ->add_option("NAME=VALUE", arguments->assignments,
                   "a field and its value, stored as given; - reads such lines from standard "
                   "input, where other users of the machine do not see them")
      ->required()
      ->check(IsAssignmentOrInput)
      ->type_name("");
  AddDatabaseOptions(*command, tool);
  AddLayoutOption(*command, arguments->version);
  command->callback([arguments, &tool] {
    RequireDatabase(tool.settings, Database::kRegistry);
    RequireDatabase(tool.settings, Database::kControl);
    tool.run = [arguments, &tool] { Set(*arguments, tool); };
  });
}

}  // namespace qm::tool

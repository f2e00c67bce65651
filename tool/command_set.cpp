// qm set: edits and saves fields of one record, all of them or none.
#include <qm/audit_log.h>
#include <qm/connection.h>
#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/hooks.h>

#include <iostream>
#include <memory>
#include <utility>
#include <vector>

#include "layout/table_code.h"
#include "records/record_family.h"
#include "runtime/text.h"
#include "session/lock_holder.h"
#include "tool/assignment.h"
#include "tool/databases.h"
#include "tool/field_changes.h"
#include "tool/layouts.h"
#include "tool/record_argument.h"
#include "tool/tool.h"
#include "tool/user.h"

namespace qm::tool {

namespace {

constexpr const char* kSource = "qm set";
// The critical fields are merged with a layout of this order.
constexpr const char* kOrder = "NAACCR_Item_No";

struct SetArguments {
  std::string family;
  std::int32_t id = 0;
  std::string version;
  std::vector<std::string> assignments;
};

std::string NameOf(const SetArguments& arguments) {
  return arguments.family + " " + std::to_string(arguments.id);
}

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

const RecordFamily& FamilyOf(const std::string& name) {
  if (name == kPatientName) return kPatientFamily;
  return name == kTumorName ? kTumorFamily : kAbstractFamily;
}

// A field of the layout that the family holds, or a column of its own, that its table has. Texts
// are kept for abstracts alone.
bool IsFieldOf(Record& record, const RecordFamily& family, const NAACCRLayout& layout,
               const std::string& name) {
  const std::int16_t index = layout.IndexByFieldName(name);
  if (index >= 1 && layout.FieldType(index) == "X") return family.texts_follow;
  const int table =
      index >= 1 ? TableOfCode(record.FieldTableNo(index)) : OwnColumnTable(family, name);
  const auto tables = record.Recordsets();
  return table >= 1 && table <= static_cast<int>(tables.size()) &&
         tables[static_cast<std::size_t>(table) - 1]->FieldOrdinal(name) >= 0;
}

void RequireFields(Record& record, const RecordFamily& family, const NAACCRLayout& layout,
                   const SetArguments& arguments, const std::vector<Assignment>& assignments) {
  for (const Assignment& assignment : assignments) {
    if (EqualsIgnoreCase(assignment.name, family.key)) {
      throw Error(kErrBadArgument, kSource,
                  "'" + assignment.name + "' is the identifier and cannot be set");
    }
    if (&family == &kAbstractFamily && EqualsIgnoreCase(assignment.name, kTumorFamily.key)) {
      throw Error(kErrBadArgument, kSource, "'" + assignment.name + "' is set by linking alone");
    }
    if (!IsFieldOf(record, family, layout, assignment.name)) {
      throw Error(kErrNoSuchItem, kSource,
                  arguments.family + "s have no field '" + assignment.name + "'");
    }
  }
}

// What another user keeps locked is not changed: an abstract, and the case that the record is part
// of.
void RequireNobodyElse(Record& record, const SetArguments& arguments) {
  if (arguments.family == kAbstractName) {
    RequireUnlocked(LockedRecord::kAbstract, arguments.id, kSource);
  }
  const Variant patient = record.Recordset(1)->Value("PatientID");
  if (!patient.IsNull()) RequireUnlocked(LockedRecord::kCase, ToInt32(patient), kSource);
}

// A value that cannot be stored as it is: a memo's separator would move the texts behind it.
void RequireText(const Assignment& assignment) {
  if (!IsValidUtf8(assignment.value) || assignment.value.find('\x02') != std::string::npos) {
    throw Error(
        kErrBadArgument, kSource,
        "the value of '" + assignment.name + "' is no UTF-8 text, or holds the character 2");
  }
}

// A patient and a tumor keep a text set as `Remarks` to themselves; their column is one like
// others.
void Assign(Record& record, const RecordFamily& family, const Assignment& assignment) {
  if (!family.texts_follow && EqualsIgnoreCase(assignment.name, kMemoColumn)) {
    record.Recordset(1)->SetValue(kMemoColumn, assignment.value);
  } else {
    record.SetFieldByName(assignment.name, assignment.value);
  }
}

// A warning only, so that a field that cannot be read keeps nobody from saving.
std::string MissingCriticalFields(Record& abstract, const NAACCRLayout& layout) {
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

// Inside the caller's transaction. Gives the critical fields that are left empty.
std::string SetFields(Record&& record, const NAACCRLayout& layout, const SetArguments& arguments,
                      const std::vector<Assignment>& assignments, Tool& tool) {
  if (record.Eof()) RaiseMissingRecord(kSource, arguments.family, arguments.id);
  RequireNobodyElse(record, arguments);
  const auto field = std::make_shared<std::string>();
  tool.doing = [field, name = NameOf(arguments)] {
    return "setting " + *field + (field->empty() ? "" : " of ") + name;
  };
  const RecordFamily& family = FamilyOf(arguments.family);
  RequireFields(record, family, layout, arguments, assignments);
  FieldChanges changes(record, layout);
  for (const Assignment& assignment : assignments) {
    *field = assignment.name;
    changes.Remember(assignment.name);
  }
  for (const Assignment& assignment : assignments) {
    *field = assignment.name;
    RequireText(assignment);
    Assign(record, family, assignment);
  }
  field->clear();
  std::string missing;
  if (arguments.family == kAbstractName) missing = MissingCriticalFields(record, layout);
  record.Update();
  const std::string changed = changes.Text();
  if (!changed.empty()) WriteAudit({"set", arguments.family, arguments.id, changed, ""});
  return missing;
}

void Set(const SetArguments& arguments, Tool& tool) {
  const std::vector<Assignment> assignments = ReadAssignments(arguments.assignments, std::cin);
  if (arguments.id < 1) RaiseMissingRecord(kSource, arguments.family, arguments.id);
  OpenDatabase(tool, Database::kControl);
  const auto registry = OpenRegistryToChange(tool, kSource);
  QMDataSets data_sets;
  const auto layout = LoadLayout(tool, data_sets, arguments.version, kOrder);
  if (arguments.family == kAbstractName) LoadCriticalFields(*layout);

  const auto set = [&](Record&& record) {
    return SetFields(std::move(record), *layout, arguments, assignments, tool);
  };
  Transaction transaction(registry);
  const std::string missing =
      arguments.family == kPatientName ? set(data_sets.GetPatient(arguments.id))
      : arguments.family == kTumorName ? set(data_sets.GetTumor(arguments.id))
                                       : set(data_sets.GetAbstract(arguments.id));
  transaction.Commit();
  if (!missing.empty()) Warn("critical fields are empty: " + missing);
  std::cout << NameOf(arguments) << " saved\n";
}

}  // namespace

void AddSet(CLI::App& app, Tool& tool) {
  const auto arguments = std::make_shared<SetArguments>();
  CLI::App* command = AddCommand(
      app, tool, "set",
      "set fields of an abstract, a patient or a tumor and save it, all of them or, when "
      "one fails, none; critical fields of an abstract left empty are a warning, a "
      "record that another user has locked is refused");
  AddRecordArguments(*command, arguments->family, arguments->id,
                     {kAbstractName, kPatientName, kTumorName});
  command
      ->add_option("NAME=VALUE", arguments->assignments,
                   "a field and its value, stored as given; - reads such lines from standard "
                   "input, where other users of the machine do not see them")
      ->required()
      ->check(IsAssignmentOrInput)
      ->type_name("");
  AddDatabaseOptions(*command, tool);
  AddUserOption(*command, tool);
  AddLayoutOption(*command, arguments->version);
  command->callback([arguments, &tool] {
    RequireDatabase(tool.settings, Database::kRegistry);
    RequireDatabase(tool.settings, Database::kControl);
    tool.run = [arguments, &tool] { Set(*arguments, tool); };
  });
}

}  // namespace qm::tool

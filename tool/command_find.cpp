// qm find: the patients whose fields hold the values given.
#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/recordset.h>

#include <algorithm>
#include <cctype>
#include <iostream>
#include <memory>
#include <set>
#include <vector>

#include "dataaccess/sql_text.h"
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

constexpr const char* kShown[] = {"LastName", "FirstName", "MiddleName"};

struct Arguments {
  std::string family;
  std::string version;
  std::vector<std::string> assignments;
};

// A family knows some of its columns by their first letters, whatever follows.
bool IsPlainName(std::string_view name) {
  return std::all_of(name.begin(), name.end(),
                     [](unsigned char c) { return std::isalnum(c) != 0 || c == '_'; });
}

// The statement that finds them. Every name in it comes from the layout or the family, every value
// of the caller's is a literal.
class PatientQuery {
 public:
  explicit PatientQuery(const NAACCRLayout& layout) : layout_(layout) {}

  void Require(const Assignment& assignment) {
    const std::string column = Column(assignment.name);
    const std::string equals = column + " = " + SqlText(assignment.value);
    condition_ += condition_.empty() ? " WHERE " : " AND ";
    // A field without a value may be kept as either.
    condition_ += assignment.value.empty() ? "(" + equals + " OR " + column + " IS NULL)" : equals;
  }

  std::string Text() {
    const std::string key = Column(std::string(kPatientFamily.key));
    std::string columns = key;
    for (const char* name : kShown) columns += ", " + Column(name);
    const std::string primary(kPatientFamily.table);
    std::string from = primary;
    for (const int table : tables_) {
      if (table == 1) continue;
      const std::string name = TableName(primary, table);
      from.append(" LEFT JOIN ").append(name).append(" ON ").append(name).append(".");
      from.append(kPatientFamily.key).append(" = ").append(key);
    }
    return "SELECT " + columns + " FROM " + from + condition_ + " ORDER BY " + key;
  }

 private:
  std::string Column(const std::string& name) {
    const int table = Table(name);
    if (table < 1 || !IsPlainName(name)) {
      throw Error(kErrNoSuchItem, "qm find", "patients have no field '" + name + "'");
    }
    tables_.insert(table);
    return TableName(kPatientFamily.table, table) + ".[" + name + "]";
  }

  // 0 for what is no column of theirs; texts are parts of a memo and have none.
  int Table(const std::string& name) const {
    if (EqualsIgnoreCase(name, kPatientFamily.key)) return 1;
    const std::int16_t index = layout_.IndexByFieldName(name);
    if (index < 1) return OwnColumnTable(kPatientFamily, name);
    return layout_.FieldType(index) == "X" ? 0 : TableOfCode(layout_.FieldPatTable(index));
  }

  const NAACCRLayout& layout_;
  std::set<int> tables_;
  std::string condition_;
};

void Find(const Arguments& arguments, Tool& tool) {
  const std::vector<Assignment> assignments = ReadAssignments(arguments.assignments, std::cin);
  OpenDatabase(tool, Database::kControl);
  OpenDatabase(tool, Database::kRegistry);
  QMDataSets data_sets;
  const auto layout = LoadLayout(tool, data_sets, arguments.version);
  PatientQuery query(*layout);
  for (const Assignment& assignment : assignments) query.Require(assignment);

  tool.doing = [] { return "searching the patients"; };
  std::vector<Column> columns = {{std::string(kPatientFamily.key), true}};
  for (const char* name : kShown) columns.push_back({name, false});
  ResultWriter results(std::cout, tool.settings.format, columns);
  const auto patients = data_sets.GetRecordset(query.Text());
  for (const Recordset& patient : patients->Rows()) {
    std::vector<std::string> cells;
    cells.reserve(columns.size());
    for (int i = 0; i < patient.FieldCount(); ++i) cells.push_back(ToTextOrEmpty(patient.Value(i)));
    results.Row(std::move(cells));
  }
  results.Finish();
}

}  // namespace

void AddFind(CLI::App& app, Tool& tool) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* command = AddCommand(app, tool, "find",
                                 "list the patients whose fields hold exactly the values given; an "
                                 "empty value finds a field without one");
  AddFamilyArgument(*command, arguments->family, {kPatientName});
  command
      ->add_option("NAME=VALUE", arguments->assignments,
                   "a field and its value, all of which must agree; - reads such lines from "
                   "standard input, where other users of the machine do not see them")
      ->required()
      ->check(IsAssignmentOrInput)
      ->type_name("");
  AddDatabaseOptions(*command, tool);
  AddFormatOption(*command, tool);
  AddLayoutOption(*command, arguments->version);
  command->callback([arguments, &tool] {
    RequireDatabase(tool.settings, Database::kRegistry);
    RequireDatabase(tool.settings, Database::kControl);
    tool.run = [arguments, &tool] { Find(*arguments, tool); };
  });
}

}  // namespace qm::tool

// qm log: the audit log, who changed what, when, and from which file.
#include <qm/audit_log.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <vector>

#include "session/audit_writer.h"
#include "tool/databases.h"
#include "tool/tool.h"

namespace qm::tool {

namespace {

struct LogArguments {
  AuditFilter filter;
  std::size_t last = 0;  ///< 0: all rows
};

void Write(const AuditRow& row, ResultWriter& results) {
  const AuditEntry& entry = row.entry;
  results.Row({row.time, row.user, entry.action, entry.record,
               entry.id ? std::to_string(*entry.id) : "", entry.detail, entry.file});
}

// The newest rows are read back to front, so that a long log costs no more than what is shown.
void WriteLast(AuditFilter filter, std::size_t count, ResultWriter& results) {
  filter.newest_first = true;
  std::vector<AuditRow> rows;
  ReadAudit(filter, [&rows, count](const AuditRow& row) {
    rows.push_back(row);
    return rows.size() < count;
  });
  std::for_each(rows.rbegin(), rows.rend(), [&results](const auto& row) { Write(row, results); });
}

void Log(const LogArguments& arguments, Tool& tool) {
  OpenDatabase(tool, Database::kRegistry);
  tool.doing = [] { return "reading the audit log"; };
  ResultWriter results(std::cout, tool.settings.format,
                       {{"Time", false},
                        {"User", false},
                        {"Action", false},
                        {"Record", false},
                        {"ID", true},
                        {"Detail", false},
                        {"File", false}});
  if (arguments.last > 0) {
    WriteLast(arguments.filter, arguments.last, results);
  } else {
    ReadAudit(arguments.filter, [&results](const AuditRow& row) {
      Write(row, results);
      return true;
    });
  }
  results.Finish();
}

// As people write a time: a blank or a "t" may stand before the hours.
std::string TimePart(std::string text) {
  if (text.size() > 10 && (text[10] == ' ' || text[10] == 't')) text[10] = 'T';
  return text;
}

}  // namespace

void AddLog(CLI::App& app, Tool& tool) {
  const auto arguments = std::make_shared<LogArguments>();
  AuditFilter& filter = arguments->filter;
  CLI::App* command =
      AddCommand(app, tool, "log",
                 "list the changes that were made, who, when (UTC), what and from which file, the "
                 "oldest first; what was changed may be a patient's data");
  command->add_option("--record", filter.record, "changes of this kind of record: abstract, …")
      ->type_name("KIND");
  command->add_option("--id", filter.id, "changes of the record with this identifier")
      ->type_name("ID");
  command->add_option("--user-name", filter.user, "changes that this user made")->type_name("NAME");
  command->add_option("--action", filter.action, "changes of this kind: import, set, link, …")
      ->type_name("ACTION");
  command
      ->add_option("--since", filter.since,
                   "changes of that time (UTC) or later: 2026, 2026-01-05, 2026-01-05T15:04")
      ->type_name("TIME");
  command->add_option("--last", arguments->last, "the last N of them only")
      ->type_name("N")
      ->check(CLI::Range(std::size_t{1}, std::size_t{1000000}));
  AddDatabaseOptions(*command, tool);
  AddFormatOption(*command, tool);
  command->callback([arguments, &tool] {
    RequireDatabase(tool.settings, Database::kRegistry);
    AuditFilter& chosen = arguments->filter;
    chosen.since = TimePart(chosen.since);
    if (!IsAuditTime(chosen.since)) {
      throw CLI::ValidationError("--since",
                                 "a time like 2026-01-05 or 2026-01-05T15:04 is expected");
    }
    tool.run = [arguments, &tool] { Log(*arguments, tool); };
  });
}

}  // namespace qm::tool

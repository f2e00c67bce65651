// qm lock: takes the lock of a case, an abstract or tables in the user's name.
#include <qm/audit_log.h>
#include <qm/connection.h>
#include <qm/qm_connection.h>

#include <iostream>
#include <memory>

#include "tool/databases.h"
#include "tool/locks.h"
#include "tool/tool.h"
#include "tool/user.h"

namespace qm::tool {

namespace {

std::string RefusalText(const std::vector<HeldLock>& held) {
  std::string text;
  for (const HeldLock& lock : held) {
    text += (text.empty() ? "" : ", ") + lock.id + " by " + lock.user +
            (lock.name.empty() ? "" : " (" + lock.name + ")");
  }
  return "Tables are locked: " + text + ".";
}

bool Take(QMConnection& session, Connection& registry, const LockArguments& arguments) {
  if (!arguments.OfTables()) {
    return arguments.kind == kCaseName ? session.LockCase(std::to_string(arguments.id))
                                       : session.LockAbstract(arguments.id);
  }
  RequireTables(registry, arguments.codes, "qm lock");
  std::string list;
  for (const std::string& code : arguments.codes) list += code;
  return session.TablesLocked(list, Variant(RefusalText(HeldTables(registry, arguments.codes))));
}

// The library's message has the holder's name only when USERS has it.
void TellHolder(Connection& registry, const LockArguments& arguments) {
  for (const HeldLock& lock : HeldLocks(registry, arguments.kind, arguments.id)) {
    std::cerr << "qm: " << arguments.Text() << " is held by " << lock.user
              << (lock.since.empty() ? "" : " since " + lock.since) << '\n';
  }
}

// The transaction holds the write lock from its beginning, so nobody comes between the check and
// the marks of the tables, and marking them is never kept waiting.
void Lock(const LockArguments& arguments, Tool& tool) {
  const auto registry = OpenRegistryToChange(tool, "qm lock");
  tool.doing = [text = arguments.Text()] { return "locking " + text; };
  const MessagesToStandardError shown;
  QMConnection session;
  Transaction transaction(registry);
  if (!Take(session, *registry, arguments)) {
    if (!arguments.OfTables()) TellHolder(*registry, arguments);
    tool.exit_code = kFailed;
    return;
  }
  AuditEntry entry{"lock", arguments.kind, {}, "", ""};
  if (arguments.OfTables()) {
    entry.detail = arguments.Codes();
  } else {
    entry.id = arguments.id;
  }
  WriteAudit(entry);
  transaction.Commit();
  std::cout << arguments.Text() << " locked by " << session.User() << '\n';
}

}  // namespace

void AddLock(CLI::App& app, Tool& tool) {
  const auto arguments = std::make_shared<LockArguments>();
  CLI::App* command = AddCommand(app, tool, "lock",
                                 "lock a case, an abstract or tables; what somebody holds, the "
                                 "user too, is refused (exit code 1)");
  AddLockArguments(*command, *arguments);
  AddDatabaseOptions(*command, tool);
  AddUserOption(*command, tool);
  command->callback([arguments, &tool] {
    RequireDatabase(tool.settings, Database::kRegistry);
    ReadNames(*arguments);
    tool.run = [arguments, &tool] { Lock(*arguments, tool); };
  });
}

}  // namespace qm::tool

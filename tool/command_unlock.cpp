// qm unlock: frees the lock of a case, an abstract or tables, whoever holds it.
#include <qm/audit_log.h>
#include <qm/connection.h>
#include <qm/qm_connection.h>

#include <iostream>
#include <memory>

#include "tool/databases.h"
#include "tool/locks.h"
#include "tool/record_argument.h"
#include "tool/tool.h"
#include "tool/user.h"

namespace qm::tool {

namespace {

bool Free(QMConnection& session, const LockArguments& arguments) {
  if (arguments.OfTables()) {
    std::string list;
    for (const std::string& code : arguments.codes) list += code;
    return session.TablesUnlocked(list);
  }
  if (arguments.kind == kAbstractName) return session.UnLockAbstract(arguments.id);
  if (!session.UnlockCase(std::to_string(arguments.id))) {
    RaiseMissingRecord("qm unlock", arguments.kind, arguments.id);
  }
  return true;
}

// "held by ann since 1/5/2026-3:04:05 PM"; of tables "PAT held by ann, ABS held by bob".
std::string DetailOf(const std::vector<HeldLock>& held, bool tables) {
  std::string text;
  for (const HeldLock& lock : held) {
    if (!text.empty()) text += ", ";
    if (tables) text += lock.id + " ";
    text += "held by " + lock.user + (lock.since.empty() ? "" : " since " + lock.since);
  }
  return text;
}

void Unlock(const LockArguments& arguments, Tool& tool) {
  const auto registry = OpenRegistryToChange(tool, "qm unlock");
  tool.doing = [text = arguments.Text()] { return "unlocking " + text; };
  const bool tables = arguments.OfTables();
  const MessagesToStandardError shown;
  QMConnection session;
  Transaction transaction(registry);
  if (tables) RequireTables(*registry, arguments.codes, "qm unlock");
  const auto held = tables ? HeldTables(*registry, arguments.codes)
                           : HeldLocks(*registry, arguments.kind, arguments.id);
  if (!Free(session, arguments)) {
    tool.exit_code = kFailed;
    return;
  }
  if (held.empty()) {
    std::cout << arguments.Text() << (tables ? " were" : " was") << " not locked\n";
    return;
  }
  AuditEntry entry{"unlock", arguments.kind, {}, DetailOf(held, tables), ""};
  if (!tables) entry.id = arguments.id;
  WriteAudit(entry);
  transaction.Commit();
  std::cout << arguments.Text() << " unlocked; " << entry.detail << '\n';
}

}  // namespace

void AddUnlock(CLI::App& app, Tool& tool) {
  const auto arguments = std::make_shared<LockArguments>();
  CLI::App* command = AddCommand(app, tool, "unlock",
                                 "free the lock of a case, an abstract or tables, whoever "
                                 "holds it");
  AddLockArguments(*command, *arguments);
  AddDatabaseOptions(*command, tool);
  AddUserOption(*command, tool);
  command->callback([arguments, &tool] {
    RequireDatabase(tool.settings, Database::kRegistry);
    ReadNames(*arguments);
    tool.run = [arguments, &tool] { Unlock(*arguments, tool); };
  });
}

}  // namespace qm::tool

// Locks as the commands name, take, free and list them: of a case, of an abstract, of tables.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <qm/connection.h>
#include <qm/hooks.h>

#include "tool/tool.h"

namespace qm::tool {

inline constexpr const char* kCaseName = "case";
inline constexpr const char* kTablesName = "tables";

/// What a command is to lock or unlock.
struct LockArguments {
  std::string kind;  ///< "case", "abstract" or "tables"
  std::vector<std::string> names;
  std::int32_t id = 0;             ///< of a case or an abstract
  std::vector<std::string> codes;  ///< of tables

  bool OfTables() const { return kind == kTablesName; }
  /// "ABS, PAT".
  std::string Codes() const;
  /// "case 5", "tables ABS, PAT".
  std::string Text() const;
};

void AddLockArguments(CLI::App& command, LockArguments& arguments);
/// Reads `names` as the kind wants them; wrong usage when they are not so.
void ReadNames(LockArguments& arguments);

struct HeldLock {
  std::string id;  ///< of a record, or a table's code
  std::string user;
  std::string name;  ///< empty for a user that USERS does not have
  std::string since;
};

/// The locks of one kind that are held, in the order of their identifiers; for the abstract or case
/// of that identifier alone when it is given.
std::vector<HeldLock> HeldLocks(Connection& registry, const std::string& kind,
                                std::optional<std::int32_t> id = std::nullopt);
/// Those of the tables listed.
std::vector<HeldLock> HeldTables(Connection& registry, const std::vector<std::string>& codes);
/// 3265, naming the code, when one is not the code of a table that can be locked.
void RequireTables(Connection& registry, const std::vector<std::string>& codes,
                   const std::string& command);

/// Shows the library's messages on standard error while it lives.
class MessagesToStandardError {
 public:
  MessagesToStandardError();
  ~MessagesToStandardError();
  MessagesToStandardError(const MessagesToStandardError&) = delete;
  MessagesToStandardError& operator=(const MessagesToStandardError&) = delete;

 private:
  MessagePresenter former_;
};

}  // namespace qm::tool

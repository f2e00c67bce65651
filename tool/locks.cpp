#include "tool/locks.h"

#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/recordset.h>

#include <algorithm>
#include <charconv>
#include <iostream>
#include <set>

#include "runtime/text.h"
#include "tool/record_argument.h"

namespace qm::tool {

namespace {

constexpr std::size_t kCodeLength = 3;

std::string Joined(const std::vector<std::string>& texts) {
  std::string joined;
  for (const std::string& text : texts) joined += (joined.empty() ? "" : ", ") + text;
  return joined;
}

// A case whose holder is empty is listed: nobody gets its lock. An abstract's is free then.
std::string StatementOf(const std::string& kind, std::optional<std::int32_t> id) {
  const auto only = [&id](const char* key) {
    return id ? std::string(" AND ") + key + " = " + std::to_string(*id) : std::string();
  };
  if (kind == kCaseName) {
    return "SELECT R.PATIENTID, R.CASELOCKEDBY, U.NAME, R.CaseLockedTime FROM PATIENTS R"
           " LEFT JOIN USERS U ON U.USERID = R.CASELOCKEDBY WHERE R.CASELOCKEDBY IS NOT NULL" +
           only("R.PATIENTID") + " ORDER BY R.PATIENTID";
  }
  if (kind == kAbstractName) {
    return "SELECT R.ABSREFID, R.ABSTRACTLOCKEDBY, U.NAME, R.ABSTRACTLOCKEDT FROM ABSTRACTS R"
           " LEFT JOIN USERS U ON U.USERID = R.ABSTRACTLOCKEDBY WHERE R.ABSTRACTLOCKEDBY <> ''" +
           only("R.ABSREFID") + " ORDER BY R.ABSREFID";
  }
  return "SELECT R.TABLENAME, R.USERID, U.NAME, NULL FROM LOCKMANAGER R"
         " LEFT JOIN USERS U ON U.USERID = R.USERID WHERE R.LOCKSTATUS = 'L'"
         " ORDER BY R.TABLENAME";
}

}  // namespace

std::string LockArguments::Codes() const { return Joined(codes); }

std::string LockArguments::Text() const {
  return kind + " " + (OfTables() ? Codes() : std::to_string(id));
}

void AddLockArguments(CLI::App& command, LockArguments& arguments) {
  AddFamilyArgument(command, arguments.kind, {kCaseName, kAbstractName, kTablesName});
  command
      .add_option("ID|CODES", arguments.names,
                  "the identifier of the case (its patient) or abstract; or the tables' codes of "
                  "three characters, one after another or apart (PATABS, PAT ABS)")
      ->required()
      ->type_name("");
}

void ReadNames(LockArguments& arguments) {
  if (!arguments.OfTables()) {
    const std::string& text = arguments.names.front();
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), arguments.id);
    if (arguments.names.size() > 1 || fault != std::errc() || end != text.data() + text.size()) {
      throw CLI::ValidationError("one identifier of a record is expected");
    }
    return;
  }
  for (const std::string& name : arguments.names) {
    if (name.empty() || CharacterCount(name) % kCodeLength != 0) {
      throw CLI::ValidationError("codes of tables have three characters: '" + name + "'");
    }
    for (std::size_t at = 0; at < CharacterCount(name); at += kCodeLength) {
      arguments.codes.emplace_back(CharacterSlice(name, at, kCodeLength));
    }
  }
}

std::vector<HeldLock> HeldLocks(Connection& registry, const std::string& kind,
                                std::optional<std::int32_t> id) {
  std::vector<HeldLock> locks;
  const auto rows = registry.Execute(StatementOf(kind, id));
  for (const Recordset& row : rows->Rows()) {
    locks.push_back({ToText(row.Value(0)), ToTextOrEmpty(row.Value(1)), ToTextOrEmpty(row.Value(2)),
                     ToTextOrEmpty(row.Value(3))});
  }
  rows->Close();
  return locks;
}

std::vector<HeldLock> HeldTables(Connection& registry, const std::vector<std::string>& codes) {
  std::vector<HeldLock> locks = HeldLocks(registry, kTablesName);
  std::erase_if(locks, [&codes](const HeldLock& lock) {
    return std::find(codes.begin(), codes.end(), lock.id) == codes.end();
  });
  return locks;
}

void RequireTables(Connection& registry, const std::vector<std::string>& codes,
                   const std::string& command) {
  std::set<std::string> known;
  const auto rows = registry.Execute("SELECT TABLENAME FROM LOCKMANAGER");
  for (const Recordset& row : rows->Rows()) known.insert(ToTextOrEmpty(row.Value(0)));
  rows->Close();
  for (const std::string& code : codes) {
    if (known.count(code) != 0) continue;
    throw Error(kErrNoSuchItem, command,
                "'" + code + "' is no table that can be locked; there are " +
                    Joined({known.begin(), known.end()}));
  }
}

MessagesToStandardError::MessagesToStandardError()
    : former_(SetMessagePresenter([](const Message& message) {
        std::cerr << "qm: " << message.text << '\n';
        return message.buttons == MessageButtons::kYesNo ? MessageAnswer::kNo : MessageAnswer::kOk;
      })) {}

MessagesToStandardError::~MessagesToStandardError() { SetMessagePresenter(std::move(former_)); }

}  // namespace qm::tool

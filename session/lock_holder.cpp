#include "session/lock_holder.h"

#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/recordset.h>

#include "session/session_state.h"

namespace qm {

namespace {

constexpr std::int32_t kPermissionDenied = 70;

// " (Ann Lee)" where USERS has a name for the user. Compared here, so that no text of a record
// stands in a statement.
std::string FullName(std::string_view user) {
  const auto users = CurrentSession().gcnRegistry.Get()->Execute("SELECT USERID, NAME FROM USERS");
  for (const Recordset& each : users->Rows()) {
    if (ToTextOrEmpty(each.Value(0)) != user) continue;
    const std::string name = ToTextOrEmpty(each.Value(1));
    return name.empty() ? name : " (" + name + ")";
  }
  return {};
}

}  // namespace

std::optional<std::string> LockHolder(LockedRecord kind, std::int32_t id) {
  const std::string statement = kind == LockedRecord::kCase
                                    ? "SELECT CASELOCKEDBY FROM PATIENTS WHERE PATIENTID = "
                                    : "SELECT ABSTRACTLOCKEDBY FROM ABSTRACTS WHERE ABSREFID = ";
  const auto row = CurrentSession().gcnRegistry.Get()->Execute(statement + std::to_string(id));
  if (row->Eof()) return std::nullopt;
  std::string holder = ToTextOrEmpty(row->Value(0));
  row->Close();
  if (holder.empty() || holder == CurrentSession().gstrUser) return std::nullopt;
  return holder;
}

void RequireUnlocked(LockedRecord kind, std::int32_t id, std::string_view source) {
  const auto holder = LockHolder(kind, id);
  if (!holder) return;
  const std::string record = kind == LockedRecord::kCase ? "the case of patient " : "abstract ";
  throw Error(kPermissionDenied, std::string(source),
              record + std::to_string(id) + " is locked by " + *holder + FullName(*holder));
}

}  // namespace qm

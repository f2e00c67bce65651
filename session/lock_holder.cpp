#include "session/lock_holder.h"

#include <qm/conversions.h>

#include "session/session_state.h"

namespace qm {

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

}  // namespace qm

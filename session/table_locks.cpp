// The locks of whole tables: one row of LOCKMANAGER for each table that can be locked. All tables
// of a list are checked before the first is marked; the two passes are not one step, so that two
// users may both pass the check and both mark.
#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/hooks.h>
#include <qm/qm_connection.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dataaccess/data_error.h"
#include "runtime/text.h"
#include "session/session_state.h"
#include "session/trap.h"

namespace qm {

namespace {

constexpr std::size_t kCodeLength = 3;
constexpr const char* kLockSource = "QMObjects.QMConnection.TablesLocked";
constexpr const char* kUnlockSource = "QMObjects.QMConnection.TablesUnlocked";
constexpr const char* kRefusal =
    "Some Table(s) in the Database are currently locked by the other use.  Please wait a moment "
    "and then try again, or let the administrator to unlock the tables under "
    "administration/unlock tables menu.";

// The codes of a list; none, and a message, when it is no list of codes.
std::vector<std::string> ReadTableList(std::string_view list, const char* title) {
  const std::size_t length = CharacterCount(list);
  if (length == 0 || length % kCodeLength != 0) {
    ShowMessage({.text = "Unable to understand procedure parameters.  Contact your administrator.",
                 .icon = MessageIcon::kCritical,
                 .title = title});
    return {};
  }
  std::vector<std::string> codes;
  for (std::size_t first = 0; first < length; first += kCodeLength) {
    codes.emplace_back(CharacterSlice(list, first, kCodeLength));
  }
  return codes;
}

// Nothing, and a message, when the table cannot be opened. A busy engine is asked twice.
std::shared_ptr<Recordset> OpenLockManager() {
  for (bool again = false;; again = true) {
    try {
      const auto& registry = CurrentSession().gcnRegistry.Get();
      auto tables = registry->CreateRecordset();
      tables->Open("SELECT * FROM LOCKMANAGER", registry, kOpenKeyset, kLockPessimistic,
                   kOptionsUnspecified);
      return tables;
    } catch (const Error& failure) {
      if (failure.number() == kErrEngineBusy && !again) continue;
      ShowMessage({.text = "Error(" + std::to_string(failure.number()) + "), " +
                           failure.description() + "\r\nLock Manager is currently inaccessable.",
                   .icon = MessageIcon::kInformation,
                   .title = "Lock Test"});
      return nullptr;
    }
  }
}

// Moves to the table's row, or to the end. A search knows no case, a code does.
void MoveToTable(Recordset& tables, const std::string& code) {
  tables.MoveFirst();
  const std::string criteria = "TABLENAME = '" + code + "'";
  tables.Find(criteria);
  while (!tables.Eof() && tables.Value("TABLENAME") != Variant(code)) tables.Find(criteria, 1);
}

void GiveUpEdit(Recordset& tables) {
  try {
    tables.CancelUpdate();
  } catch (const Error&) {
    // The edit stays pending; the next move saves it or fails as the update did.
  }
}

// The lock of the row comes with the first assignment, so what is tried again without a wait and
// without end is the assignment together with the update. What ends it is a lost connection. A row
// that went away since the check has nothing to be marked.
void MarkLocked(Recordset& tables, const std::string& code) {
  for (;;) {
    try {
      MoveToTable(tables, code);
      if (tables.Eof()) return;
      tables.SetValue("LOCKSTATUS", "L");
      tables.SetValue("USERID", CurrentSession().gstrUser);
      tables.Update();
      return;
    } catch (const Error& failure) {
      if (IsConnectionLost(failure)) throw;
      GiveUpEdit(tables);
    }
  }
}

}  // namespace

bool QMConnection::TablesLocked(std::string& TablesToLock,
                                const std::optional<Variant>& CustomMsg) {
  std::string refusal;
  const auto codes = Trap(1006, kLockSource, [&] {
    refusal = CustomMsg ? ToText(*CustomMsg) : kRefusal;
    TablesToLock = std::string(Trim(TablesToLock));
    return ReadTableList(TablesToLock, "Lock Tables");
  });
  if (codes.empty()) return false;
  const auto tables = OpenLockManager();
  if (!tables) return false;

  // Not trapped: what fails in the check reaches the caller as it is.
  for (const std::string& code : codes) {
    MoveToTable(*tables, code);
    if (tables->Eof()) {
      ShowMessage({.text = "Unable to identity table name for locking purpose.  Contact your "
                           "administrator.",
                   .icon = MessageIcon::kCritical,
                   .title = "Lock Tables"});
      return false;
    }
    if (tables->Value("LOCKSTATUS") == Variant("L")) {
      tables->Close();
      ShowMessage({.text = refusal, .icon = MessageIcon::kInformation, .title = "Lock Tables"});
      return false;
    }
  }
  for (const std::string& code : codes) MarkLocked(*tables, code);
  Trap(1006, kLockSource, [&] { tables->Close(); });
  return true;
}

bool QMConnection::TablesUnlocked(std::string_view TablesToUnlock) {
  const auto codes =
      Trap(1007, kUnlockSource, [&] { return ReadTableList(TablesToUnlock, "Unlock Tables"); });
  if (codes.empty()) return false;
  const auto tables = OpenLockManager();
  if (!tables) return false;

  // Not trapped: a code that is not there fails as the assignment does, after those before it.
  for (const std::string& code : codes) {
    MoveToTable(*tables, code);
    tables->SetValue("LOCKSTATUS", "U");
    tables->SetValue("USERID", "");
    tables->Update();
  }
  Trap(1007, kUnlockSource, [&] { tables->Close(); });
  return true;
}

}  // namespace qm

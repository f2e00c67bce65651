// The locks of cases and abstracts: a user and a time in two columns of the locked row. What the
// two kinds do differently is published and stays:
//
//                       case                         abstract
//   not there           at end                       record count 0
//   free                holder Null                  holder Null or empty
//   refusal             critical, "Lock Case"        no icon, no title
//   unlocked            holder Null, time empty      both Null
//   unlocking nothing   silent                       critical, "UnLock Abstract"
//   success on demand   no icon, no title            information, "Unlock Case"
//
// Of two who take one lock the pessimistic edit lets one through: the first assignment locks the
// row and fails where it no longer is as it was read.
#include <qm/conversions.h>
#include <qm/hooks.h>
#include <qm/qm_connection.h>

#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "runtime/date_text.h"
#include "session/session_state.h"
#include "session/trap.h"

namespace qm {

namespace {

std::shared_ptr<Recordset> OpenPessimistic(std::string_view statement) {
  const auto& registry = CurrentSession().gcnRegistry.Get();
  auto rows = registry->CreateRecordset();
  rows->Open(statement, registry, kOpenKeyset, kLockPessimistic, kOptionsUnspecified);
  return rows;
}

// The current date, "-", the current time: "1/5/2026-3:04:05 PM".
std::string LockTime() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
#ifdef _WIN32
  localtime_s(&local, &now);
#else
  localtime_r(&now, &local);
#endif
  const Date day{SerialOfDay(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday)};
  const int seconds = local.tm_hour * 3600 + local.tm_min * 60 + local.tm_sec;
  return DateText(day) + "-" + DateText(Date{seconds / 86400.0});
}

// "Case is locked by Ann Lee."; the name is the one that USERS has for the holder.
std::string RefusalText(const char* record, const Variant& holder) {
  const auto users =
      OpenPessimistic("SELECT NAME FROM USERS WHERE USERID = '" + ToText(holder) + "'");
  const std::string name = users->Eof() ? "an unknown user" : ToTextOrEmpty(users->Value("NAME"));
  users->Close();
  return std::string(record) + " is locked by " + name + ".";
}

bool IsNullOrEmpty(const Variant& value) { return value.IsNull() || ToText(value).empty(); }

// The end of an operation whose record is not there. It is not trapped: what fails here reaches
// the caller as it is.
bool TellMissing(Recordset& rows, const char* record, std::string_view id) {
  rows.Close();
  ShowMessage({.text = "Unable to find " + std::string(record) + " ID " + std::string(id) + ".",
               .title = ""});
  return false;
}

}  // namespace

bool QMConnection::CaseLockStatus(std::string_view CaseID) {
  std::shared_ptr<Recordset> row;
  const auto locked = Trap(1001, "QMObjects", [&]() -> std::optional<bool> {
    row = OpenPessimistic(
        "SELECT PATIENTID, CASELOCKEDBY, CaseLockedTime FROM PATIENTS"
        " WHERE PATIENTID = " +
        std::string(CaseID));
    if (row->RecordCount() == 0) return std::nullopt;
    const Variant holder = row->Value("CASELOCKEDBY");
    row->Close();
    if (IsNullOrEmpty(holder)) return false;
    ShowMessage({.text = RefusalText("Case", holder),
                 .icon = MessageIcon::kCritical,
                 .title = "Lock Case"});
    return true;
  });
  return locked ? *locked : TellMissing(*row, "Case", CaseID);
}

bool QMConnection::LockCase(std::string_view CasID) {
  std::shared_ptr<Recordset> row;
  const auto taken = Trap(1003, "QMObjects.QMConnection.LockCase", [&]() -> std::optional<bool> {
    row = OpenPessimistic(
        "SELECT PATIENTID, CASELOCKEDBY, CaseLockedTime FROM PATIENTS"
        " WHERE PATIENTID = " +
        std::string(CasID));
    if (row->Eof()) return std::nullopt;
    const Variant holder = row->Value("CASELOCKEDBY");
    if (holder.IsNull()) {
      row->SetValue("CASELOCKEDBY", CurrentSession().gstrUser);
      row->SetValue("CaselockedTime", LockTime());
      row->Update();
      row->Close();
      return true;
    }
    row->Close();
    ShowMessage({.text = RefusalText("Case", holder),
                 .icon = MessageIcon::kCritical,
                 .title = "Lock Case"});
    return false;
  });
  return taken ? *taken : TellMissing(*row, "Case", CasID);
}

bool QMConnection::LockAbstract(std::int32_t AbsID) {
  const std::string id = std::to_string(AbsID);
  std::shared_ptr<Recordset> row;
  const auto taken =
      Trap(1002, "QMObjects.QMConnection.LockAbstract", [&]() -> std::optional<bool> {
        row = OpenPessimistic(
            "SELECT ABSREFID,ABSTRACTLOCKEDBY, ABSTRACTLOCKEDT  FROM ABSTRACTS"
            " WHERE ABSREFID = " +
            id);
        if (row->RecordCount() == 0) return std::nullopt;
        const Variant holder = row->Value("ABSTRACTLOCKEDBY");
        if (IsNullOrEmpty(holder)) {
          row->SetValue("ABSTRACTLOCKEDBY", CurrentSession().gstrUser);
          row->SetValue("ABSTRACTLOCKEDT", LockTime());
          row->Update();
          row->Close();
          return true;
        }
        row->Close();
        ShowMessage({.text = RefusalText("Abstract", holder), .title = ""});
        return false;
      });
  return taken ? *taken : TellMissing(*row, "Abstract", id);
}

bool QMConnection::UnlockCase(std::string_view CasID, const std::optional<Variant>& msg,
                              const std::optional<Variant>& /*Locktable*/) {
  return Trap(1005, "QMObjects.QMConnection.UnlockCase", [&] {
    const std::string id(CasID);
    const auto row = OpenPessimistic(
        "SELECT PATIENTID,CASELOCKEDBY, CaseLockedTime FROM PATIENTS WHERE PATIENTID = " + id);
    if (row->Eof()) return false;
    row->SetValue("CASELOCKEDBY", Variant::Null());
    row->SetValue("CaselockedTime", "");
    row->Update();
    if (msg) ShowMessage({.text = "Case ID " + id + " is successfully unlocked.", .title = ""});
    return true;
  });
}

bool QMConnection::UnLockAbstract(std::int32_t AbsID, const std::optional<Variant>& msg) {
  return Trap(1004, "QMObjects.QMConnection.UnLockAbstract", [&] {
    const std::string id = std::to_string(AbsID);
    const auto row = OpenPessimistic(
        "SELECT ABSREFID,ABSTRACTLOCKEDBY, ABSTRACTLOCKEDT FROM ABSTRACTS WHERE ABSREFID = " + id);
    if (row->RecordCount() == 0) {
      ShowMessage({.text = "Unable to find Abstract ID " + id + ".",
                   .icon = MessageIcon::kCritical,
                   .title = "UnLock Abstract"});
      row->Close();
      return false;
    }
    row->SetValue("ABSTRACTLOCKEDBY", Variant::Null());
    row->SetValue("ABSTRACTLOCKEDT", Variant::Null());
    row->Update();
    row->Close();
    if (msg) {
      ShowMessage({.text = "Abstract ID " + id + " is successfully unlocked.",
                   .icon = MessageIcon::kInformation,
                   .title = "Unlock Case"});
    }
    return true;
  });
}

}  // namespace qm

#include "session/own_tables.h"

#include <qm/connection.h>
#include <qm/error.h>
#include <qm/recordset.h>

#include <algorithm>
#include <string>

#include "session/session_state.h"

namespace qm {

namespace {

constexpr OwnTable kOwnTables[] = {
    // How far each imported file, known by a digest of its content, was taken.
    {"QMImports",
     "CREATE TABLE QMImports (Digest VARCHAR(64) PRIMARY KEY, FileName TEXT, LinesDone INTEGER,"
     " BytesDone INTEGER, Imported INTEGER, Rejected INTEGER, Finished INTEGER)"},
    // Who changed what; the key ascends in the order of the changes.
    {"QMAudit",
     "CREATE TABLE QMAudit (AuditKey VARCHAR(64) PRIMARY KEY, ChangedAt VARCHAR(40),"
     " ChangedBy VARCHAR(120), Action VARCHAR(40), RecordKind VARCHAR(40), RecordID INTEGER, "
     "Detail TEXT, SourceFile TEXT)"},
    // What linking an abstract made, and what it found, so that it can be undone; the digests tell
    // whether the records made were changed since.
    {"QMLinks",
     "CREATE TABLE QMLinks (AbsRefID INTEGER PRIMARY KEY, PatientID INTEGER, MedRefID INTEGER,"
     " NewPatient INTEGER, NewTumor INTEGER, FormerPatientID INTEGER, FormerMedRefID INTEGER,"
     " PatientDigest VARCHAR(64), TumorDigest VARCHAR(64))"},
    // The pairs that a reviewer declined. Of all an abstract's offers at once: patient 0, with a
    // digest of that decision.
    {"QMDecisions",
     "CREATE TABLE QMDecisions (AbsRefID INTEGER, PatientID INTEGER, DecisionDigest VARCHAR(64),"
     " PRIMARY KEY (AbsRefID, PatientID))"},
};

bool IsThere(Connection& registry, std::string_view table) {
  try {
    registry.Execute("SELECT * FROM " + std::string(table) + " WHERE 1 = 2")->Close();
    return true;
  } catch (const Error& error) {
    if (error.number() != kErrNoSuchTable) throw;
    return false;
  }
}

void Ensure(const OwnTable& table) {
  const auto& registry = CurrentSession().gcnRegistry.Get();
  if (IsThere(*registry, table.name)) return;
  try {
    registry->Execute(table.create);
  } catch (const Error&) {
    // Another user may have made it in between.
    if (!IsThere(*registry, table.name)) throw;
  }
}

}  // namespace

std::span<const OwnTable> OwnTables() { return kOwnTables; }

void EnsureOwnTable(std::string_view name) {
  const auto found = std::ranges::find(kOwnTables, name, &OwnTable::name);
  if (found == std::end(kOwnTables)) {
    throw Error(kErrBadArgument, "QMDataObjects2", "no table of the library: " + std::string(name));
  }
  Ensure(*found);
}

void EnsureOwnTables() {
  for (const OwnTable& table : kOwnTables) Ensure(table);
}

}  // namespace qm

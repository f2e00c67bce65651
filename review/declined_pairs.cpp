#include "review/declined_pairs.h"

#include <qm/connection.h>
#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/recordset.h>

#include <string>

#include "session/session_state.h"

namespace qm {

namespace {

/// No patient has this identifier.
constexpr std::int32_t kAllOffers = 0;

template <typename Take>
void ReadPairs(const std::string& condition, Take take) {
  const auto& registry = CurrentSession().gcnRegistry.Get();
  const auto rows = registry->CreateRecordset();
  try {
    rows->Open("SELECT AbsRefID, PatientID FROM QMDecisions" + condition, registry,
               kOpenForwardOnly, kLockReadOnly);
  } catch (const Error& error) {
    if (error.number() == kErrNoSuchTable) return;
    throw;
  }
  for (const Recordset& row : rows->Rows()) take(ToInt32(row.Value(0)), ToInt32(row.Value(1)));
  rows->Close();
}

// The row of an abstract whose offers were declined all at once.
std::shared_ptr<Recordset> OpenWholeDecline(std::int32_t abstract_id) {
  const auto& registry = CurrentSession().gcnRegistry.Get();
  auto row = registry->CreateRecordset();
  row->Open("SELECT * FROM QMDecisions WHERE AbsRefID = " + std::to_string(abstract_id) +
                " AND PatientID = " + std::to_string(kAllOffers),
            registry, kOpenKeyset, kLockOptimistic);
  return row;
}

}  // namespace

std::set<std::pair<std::int32_t, std::int32_t>> DeclinedPairs() {
  std::set<std::pair<std::int32_t, std::int32_t>> pairs;
  ReadPairs("",
            [&](std::int32_t abstract, std::int32_t patient) { pairs.emplace(abstract, patient); });
  return pairs;
}

std::set<std::int32_t> DeclinedPatients(std::int32_t abstract_id) {
  std::set<std::int32_t> patients;
  ReadPairs(" WHERE AbsRefID = " + std::to_string(abstract_id),
            [&](std::int32_t, std::int32_t patient) { patients.insert(patient); });
  return patients;
}

void AddDeclinedPair(std::int32_t abstract_id, std::int32_t patient_id) {
  CurrentSession().gcnRegistry.Get()->Execute(
      "INSERT INTO QMDecisions (AbsRefID, PatientID) VALUES (" + std::to_string(abstract_id) +
      ", " + std::to_string(patient_id) + ")");
}

void RemoveDeclinedPair(std::int32_t abstract_id, std::int32_t patient_id) {
  CurrentSession().gcnRegistry.Get()->Execute(
      "DELETE FROM QMDecisions WHERE AbsRefID = " + std::to_string(abstract_id) +
      " AND PatientID = " + std::to_string(patient_id));
}

std::string LastWholeDecline(std::int32_t abstract_id) {
  const auto row = OpenWholeDecline(abstract_id);
  return row->Eof() ? "" : ToTextOrEmpty(row->Value("DecisionDigest"));
}

void SetLastWholeDecline(std::int32_t abstract_id, const std::string& digest) {
  const auto row = OpenWholeDecline(abstract_id);
  if (row->Eof()) {
    row->AddNew();
    row->SetValue("AbsRefID", abstract_id);
    row->SetValue("PatientID", kAllOffers);
  }
  row->SetValue("DecisionDigest", digest);
  row->Update();
}

}  // namespace qm

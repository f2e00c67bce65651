#include "datasets/retrieval.h"

#include <utility>

#include <qm/conversions.h>
#include <qm/data_sets.h>

#include "datasets/data_sets_state.h"
#include "datasets/global_recordsets.h"
#include "layout/layout_state.h"
#include "records/record_factory.h"
#include "session/session_state.h"
#include "session/trap.h"

namespace qm {

namespace {

// As GetAbstract's identifier: the empty view, whatever else is given.
constexpr std::int32_t kEmptyViewId = -2;

std::shared_ptr<Connection> OpenRegistry() {
  const auto& registry = CurrentSession().gcnRegistry.Get();
  if (registry->State() == kStateClosed) registry->Open();
  return registry;
}

std::string Equals(std::string_view column, std::int32_t id) {
  std::string condition(" ");
  return condition.append(column).append(" = ").append(std::to_string(id));
}

// Identifiers replace the whole selection: the last one given wins.
void ReplaceIfGiven(Selection& selection, std::string_view column, std::int32_t id) {
  if (id > kNoId) selection.condition = Equals(column, id);
}

}  // namespace

Retrieval::Retrieval(const RecordFamily& family, std::shared_ptr<NAACCRLayout> layout,
                     std::int16_t cursor_location)
    : family_(&family), layout_(std::move(layout)), cursor_location_(cursor_location) {}

std::shared_ptr<Recordset> Retrieval::NewRecordset() const {
  const auto registry = OpenRegistry();
  auto recordset = registry->CreateRecordset();
  recordset->SetActiveConnection(registry);
  recordset->SetCursorType(kOpenDynamic);
  recordset->SetLockType(kLockOptimistic);
  recordset->SetCursorLocation(cursor_location_);
  if (family_ == &kTumorFamily) {
    if (registry->ConnectionString().find("Jet") != std::string::npos) {
      recordset->SetCursorLocation(kUseClient);
    } else {
      recordset->SetLockType(kLockOptimistic);
    }
  }
  if (CurrentSession().gblnPreserveRecordsets) {
    recordset->SetProperty("Preserve on Commit", true);
    recordset->SetProperty("Preserve on Abort", true);
  }
  return recordset;
}

std::unique_ptr<SplitRecord> Retrieval::Select(const Selection& selection) const {
  auto record = std::make_unique<SplitRecord>(*family_, layout_);
  SplitRecord::RecordsetList recordsets;
  for (int t = 1; t <= TableCount(); ++t) recordsets.push_back(NewRecordset());
  Recordset& primary = *At(recordsets, 0);
  primary.SetSource("SELECT * FROM " + std::string(family_->table) + " WHERE " +
                    selection.condition +
                    (selection.order_by.empty() ? "" : " ORDER BY " + selection.order_by));
  primary.Open();
  if (!primary.Eof()) {
    const std::string condition =
        family_ == &kPatientFamily
            ? selection.condition
            : std::string(family_->key) + " = " + ToText(primary.Value(family_->key));
    for (int t = 2; t <= TableCount(); ++t) {
      Recordset& secondary = *At(recordsets, t - 1);
      secondary.SetSource("SELECT * FROM " + TableName(family_->table, t) + " WHERE " + condition);
      secondary.SetMaxRecords(1);
    }
  }
  record->AttachRecordsets(std::move(recordsets));
  return record;
}

std::unique_ptr<SplitRecord> Retrieval::EmptyView() const {
  auto record = std::make_unique<SplitRecord>(*family_, layout_);
  const auto registry = OpenRegistry();
  GlobalRecordsets& globals = GlobalRecordsetsOf(*family_);
  SplitRecord::RecordsetList recordsets;
  for (int t = 1; t <= TableCount(); ++t) {
    auto recordset = SharedGlobalRecordset(globals, t);
    if (recordset->State() == kStateOpen) {
      recordset->CancelUpdate();
      recordset->Close();
    }
    recordset->Open("SELECT * FROM " + TableName(family_->global_table, t) + " WHERE 1 = 2",
                    registry, kOpenDynamic, kLockOptimistic, kOptionsUnspecified);
    recordsets.push_back(std::move(recordset));
  }
  record->AttachRecordsets(std::move(recordsets));
  return record;
}

Abstract QMDataSets::GetAbstract(std::int32_t lAbsRefID, std::int32_t lPatientID,
                                 std::int32_t lMedRefID, std::string_view strWhere) {
  return Trap(1100, "QMObjects.QMDatasets.GetAbstract", [&] {
    const Retrieval retrieval(kAbstractFamily, state_->Layout(), state_->cursor_location);
    const bool criteria =
        !strWhere.empty() || lAbsRefID != kNoId || lPatientID != kNoId || lMedRefID != kNoId;
    if (!criteria || lAbsRefID == kEmptyViewId) {
      return RecordFactory::Make<Abstract>(retrieval.EmptyView());
    }
    Selection selection{std::string(strWhere), {}};
    if (!strWhere.empty() || lAbsRefID != 0) {
      ReplaceIfGiven(selection, "AbsRefID", lAbsRefID);
      ReplaceIfGiven(selection, "PatientID", lPatientID);
      ReplaceIfGiven(selection, "MedRefID", lMedRefID);
    }
    return RecordFactory::Make<Abstract>(retrieval.Select(selection));
  });
}

// A where-clause without an identifier selects PatientID = -1, which is nobody.
Patient QMDataSets::GetPatient(std::int32_t lPatientID, std::string_view strWhere) {
  return Trap(1101, "QMObjects.QMDatasets.GetPatient", [&] {
    const Retrieval retrieval(kPatientFamily, state_->Layout(), state_->cursor_location);
    if (strWhere.empty() && lPatientID == kNoId) {
      return RecordFactory::Make<Patient>(retrieval.EmptyView());
    }
    return RecordFactory::Make<Patient>(retrieval.Select({Equals("PatientID", lPatientID), {}}));
  });
}

Tumor QMDataSets::GetTumor(std::int32_t lMedRefID, std::int32_t lPatientID,
                           std::string_view strWhere) {
  return Trap(1103, "QMObjects.QMDatasets.GetTumor", [&] {
    const Retrieval retrieval(kTumorFamily, state_->Layout(), state_->cursor_location);
    if (strWhere.empty() && lMedRefID == kNoId && lPatientID == kNoId) {
      return RecordFactory::Make<Tumor>(retrieval.EmptyView());
    }
    Selection selection{std::string(strWhere), {}};
    ReplaceIfGiven(selection, "MedRefID", lMedRefID);
    ReplaceIfGiven(selection, "PatientID", lPatientID);
    if (lPatientID > kNoId) selection.order_by = "SeqNumCentr";
    return RecordFactory::Make<Tumor>(retrieval.Select(selection));
  });
}

}  // namespace qm

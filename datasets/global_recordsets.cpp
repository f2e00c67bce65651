#include "datasets/global_recordsets.h"

#include <array>

#include <qm/error.h>

#include "datasets/data_sets_state.h"

namespace qm {

namespace {

// An array with the lower bound 1 and no element cannot be dimensioned.
void Dimension(GlobalRecordsets& recordsets, std::int16_t count) {
  if (count < 1) RaiseRunTime(kErrSubscript);
  recordsets.emplace(static_cast<std::size_t>(count));
}

void OpenFamily(const RecordFamily& family, std::int16_t count) {
  const bool abstracts = &family == &kAbstractFamily;
  for (int i = 1; i <= count; ++i) {
    Recordset& recordset = GlobalRecordset(GlobalRecordsetsOf(family), i);
    recordset.SetActiveConnection(CurrentSession().gcnRegistry.Get());
    recordset.SetSource(TableName(family.global_table, i));
    if (abstracts) recordset.SetCursorLocation(kUseClient);
    recordset.SetCursorType(kOpenDynamic);
    recordset.SetLockType(kLockPessimistic);
    recordset.OpenWithOptions(kCommandTableDirect);
  }
}

}  // namespace

GlobalRecordsets& GlobalRecordsetsOf(const RecordFamily& family) {
  SessionState& session = CurrentSession();
  if (&family == &kAbstractFamily) return session.grsAbstracts;
  return &family == &kPatientFamily ? session.grsPatients : session.grsMedicalSum;
}

std::shared_ptr<Recordset> SharedGlobalRecordset(GlobalRecordsets& recordsets, int index) {
  if (!recordsets || index < 1 || static_cast<std::size_t>(index) > recordsets->size()) {
    RaiseRunTime(kErrSubscript);
  }
  auto& element = (*recordsets)[static_cast<std::size_t>(index) - 1];
  if (!element) element = CurrentSession().gcnRegistry.Get()->CreateRecordset();
  return element;
}

Recordset& GlobalRecordset(GlobalRecordsets& recordsets, int index) {
  return *SharedGlobalRecordset(recordsets, index);
}

// Dimensioning lets go of the former recordsets; one that a record still holds stays open. The
// abstracts alone are client-side.
void QMDataSets::OpenGlobalRecordsets() {
  const NAACCRLayout& layout = *state_->Layout();
  for (const RecordFamily* family : {&kAbstractFamily, &kTumorFamily, &kPatientFamily}) {
    Dimension(GlobalRecordsetsOf(*family), (layout.*(family->table_count))());
  }
  for (const RecordFamily* family : {&kAbstractFamily, &kPatientFamily, &kTumorFamily}) {
    OpenFamily(*family, (layout.*(family->table_count))());
  }
}

void QMDataSets::CloseGlobalRecordsets() {
  const NAACCRLayout& layout = *state_->Layout();
  for (const RecordFamily* family : {&kAbstractFamily, &kPatientFamily, &kTumorFamily}) {
    GlobalRecordsets& recordsets = GlobalRecordsetsOf(*family);
    if (!recordsets) RaiseRunTime(kErrSubscript);
    for (int i = 1; i <= (layout.*(family->table_count))(); ++i) {
      Recordset& recordset = GlobalRecordset(recordsets, i);
      if (recordset.State() != kStateOpen) continue;
      recordset.CancelUpdate();
      recordset.Close();
    }
  }
}

}  // namespace qm

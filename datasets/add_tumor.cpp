#include <qm/conversions.h>
#include <qm/data_sets.h>
#include <qm/error.h>

#include "datasets/base_id.h"
#include "datasets/data_sets_state.h"
#include "datasets/new_record.h"

namespace qm {

Tumor QMDataSets::AddTumor(Abstract& qmAbstract) {
  const auto row = qmAbstract.Recordset(1);
  const Variant patient = row->Value("PatientID");
  if (patient.IsNull() || ToInt32(patient) < 1) {
    throw Error(kErrNoCurrentRecord, "QMDataObjects2",
                "abstract " + ToText(row->Value("AbsRefID")) + " has no patient");
  }
  NewRecord tumor(kTumorFamily, *state_->Layout(), qmAbstract);
  tumor.Primary().SetValue("PatientID", patient);
  const std::int32_t id = RequireNextBaseID("MedRefID");
  tumor.Save(id);
  SetLink(qmAbstract, "MedRefID", id);
  return GetTumor(id);
}

}  // namespace qm

#include <qm/conversions.h>
#include <qm/data_sets.h>

#include "comparison/comparison.h"
#include "datasets/base_id.h"
#include "datasets/data_sets_state.h"
#include "datasets/new_record.h"

namespace qm {

Patient QMDataSets::AddPatient(Abstract& qmAbstract) {
  NewRecord patient(kPatientFamily, *state_->Layout(), qmAbstract);
  Recordset& primary = patient.Primary();
  primary.SetValue("Soundex", PaddedSoundexCode(ToTextOrEmpty(primary.Value("LastName"))));
  const std::int32_t id = RequireNextBaseID("PatientID");
  patient.Save(id);
  SetLink(qmAbstract, "PatientID", id);
  return GetPatient(id);
}

}  // namespace qm

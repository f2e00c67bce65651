// QMDataSets for automation clients.

#include <qm/data_sets.h>

#include "component/automation_object.h"
#include "component/creators.h"
#include "component/display_objects.h"
#include "component/interfaces.h"
#include "component/layout_object.h"
#include "component/record_objects.h"
#include "component/references.h"
#include "session/trap.h"

namespace qm::component {

namespace {

std::int32_t NumberOr(const VARIANT& given, std::int32_t otherwise) {
  const auto value = Optional(given);
  return value ? ToInt32(*value) : otherwise;
}

Abstract& AbstractIn(_Abstract* object) { return RequireNative<AbstractObject>(object).record(); }

class QMDataSetsObject final
    : public AutomationObject<QMDataSetsObject, _QMDataSets, &CLSID_QMDataSets> {
 public:
  STDMETHODIMP GetAbstract(LONG* lAbsRefID, LONG* lPatientID, LONG* lMedRefID, BSTR* strWhere,
                           _Abstract** result) override {
    return Get(result, [&] {
      return MakeObject<AbstractObject>(
          data_sets_.GetAbstract(At(lAbsRefID), At(lPatientID), At(lMedRefID), Text(strWhere)));
    });
  }
  STDMETHODIMP GetPatient(LONG* lPatientID, BSTR* strWhere, _Patient** result) override {
    return Get(result, [&] {
      return MakeObject<PatientObject>(data_sets_.GetPatient(At(lPatientID), Text(strWhere)));
    });
  }
  STDMETHODIMP GetTumor(LONG* lMedRefID, LONG* lPatientID, BSTR* strWhere,
                        _Tumor** result) override {
    return Get(result, [&] {
      return MakeObject<TumorObject>(
          data_sets_.GetTumor(At(lMedRefID), At(lPatientID), Text(strWhere)));
    });
  }
  STDMETHODIMP GetNAACCRLayout(short iVersion, BSTR strOrderBy, _NAACCRLayout** result) override {
    return Get(result, [&] {
      return StandIn<LayoutObject>(
          data_sets_.GetNAACCRLayout(static_cast<std::uint16_t>(iVersion), Text(strOrderBy)));
    });
  }
  STDMETHODIMP CreateFacilityNAACCRBuffer(_Abstract** qmAbstract, BSTR* result) override {
    return Get(result, [&] {
      return Trap(1107, "QMObjects.QMDatasets.CreateFacilityNAACCRBuffer", [&] {
        return data_sets_.CreateFacilityNAACCRBuffer(AbstractIn(At(qmAbstract)));
      });
    });
  }
  STDMETHODIMP CreateConsolidatedNAACCRBuffer(_Patient** qmPatient, _Tumor** qmTumor,
                                              BSTR* result) override {
    return Get(result, [&] {
      return Trap(1108, "QMObjects.QMDatasets.CreateConsolidatedNAACCRBuffer", [&] {
        return data_sets_.CreateConsolidatedNAACCRBuffer(
            RequireNative<PatientObject>(At(qmPatient)).record(),
            RequireNative<TumorObject>(At(qmTumor)).record());
      });
    });
  }
  // Gives nothing, as the library does; the projects are not used.
  STDMETHODIMP AddAbstract(BSTR* strNAACCRRec, VARIANT_BOOL* blnUseDefaultProject, SAFEARRAY**,
                           LONG* AbsRefID, _Abstract** result) override {
    return Get(result, [&]() -> AbstractObject* {
      auto added = data_sets_.AddAbstract(Text(strNAACCRRec), Bool(At(blnUseDefaultProject)), {},
                                          At(AbsRefID));
      return added ? MakeObject<AbstractObject>(*std::move(added)) : nullptr;
    });
  }
  STDMETHODIMP AddPatient(_Abstract* qmAbstract, _Patient** result) override {
    return Get(result, [&] {
      return MakeObject<PatientObject>(data_sets_.AddPatient(AbstractIn(qmAbstract)));
    });
  }
  STDMETHODIMP AddTumor(_Abstract* qmAbstract, _Tumor** result) override {
    return Get(result, [&] {
      return MakeObject<TumorObject>(data_sets_.AddTumor(AbstractIn(qmAbstract)));
    });
  }
  STDMETHODIMP BaseID(BSTR strTable, LONG* result) override {
    return Get(result, [&] { return data_sets_.BaseID(Text(strTable)); });
  }
  STDMETHODIMP OpenGlobalRecordsets() override {
    return Do([&] { data_sets_.OpenGlobalRecordsets(); });
  }
  STDMETHODIMP CloseGlobalRecordsets() override {
    return Do([&] { data_sets_.CloseGlobalRecordsets(); });
  }
  STDMETHODIMP SetNAACCRLayout(_NAACCRLayout* objNAACCRLayout) override {
    return Do(
        [&] { data_sets_.SetNAACCRLayout(RequireNative<LayoutObject>(objNAACCRLayout).layout()); });
  }
  STDMETHODIMP UpdateAbstract(LONG lAbsRefID, BSTR strBuffer) override {
    return Do([&] { data_sets_.UpdateAbstract(lAbsRefID, Text(strBuffer)); });
  }
  STDMETHODIMP LoadDisplay(short* iDisplayID, _Display** result) override {
    return Get(result,
               [&] { return MakeObject<DisplayObject>(data_sets_.LoadDisplay(At(iDisplayID))); });
  }
  STDMETHODIMP SaveDisplay(_Display* objDisplay, short* result) override {
    return Get(result, [&] {
      const auto* const given = NativeOf<DisplayObject>(objDisplay);
      return data_sets_.SaveDisplay(given == nullptr ? Display() : given->display());
    });
  }
  STDMETHODIMP GetAbstractXML(BSTR strXML, _NAACCRLayout** result) override {
    return Get(result,
               [&] { return StandIn<LayoutObject>(data_sets_.GetAbstractXML(Text(strXML))); });
  }
  STDMETHODIMP GetRecordset(BSTR strSQL, VARIANT iCursorType, VARIANT iLockType,
                            IDispatch** result) override {
    return Get(result, [&] {
      return data_sets_.GetRecordset(Text(strSQL), NumberOr(iCursorType, kOpenForwardOnly),
                                     NumberOr(iLockType, kLockReadOnly));
    });
  }
  STDMETHODIMP get_AppPath(BSTR* result) override {
    return Get(result, [&] { return data_sets_.AppPath(); });
  }
  STDMETHODIMP get_CursorLocation(short* result) override {
    return Get(result, [&] { return data_sets_.CursorLocation(); });
  }
  STDMETHODIMP put_CursorLocation(short newval) override {
    return Do([&] { data_sets_.SetCursorLocation(newval); });
  }

 private:
  QMDataSets data_sets_;
};

}  // namespace

IDispatch* CreateQMDataSets() { return MakeObject<QMDataSetsObject>(); }

}  // namespace qm::component

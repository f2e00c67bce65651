// Matcher for automation clients.

#include <qm/matcher.h>

#include "component/automation_object.h"
#include "component/creators.h"
#include "component/interfaces.h"
#include "component/record_objects.h"
#include "dataaccess/providers/automation/late_bound.h"

namespace qm::component {

namespace {

// A recordset to score; that there is none is a failure of the scoring.
std::shared_ptr<Recordset> Scored(IDispatch* object) {
  try {
    return RecordsetIn(object);
  } catch (const Error& error) {
    throw error.As(error.number(), error.source() + ", GetMatchScore");
  }
}

class MatcherObject final : public AutomationObject<MatcherObject, _Matcher, &CLSID_Matcher> {
 public:
  STDMETHODIMP GetMatchingPatientIDsLocal(IDispatch** conMatchDb, _Abstract** qmAbstract,
                                          BSTR* result) override {
    return Get(result, [&] {
      return matcher_.GetMatchingPatientIDsLocal(ConnectionIn(At(conMatchDb)), [&]() -> Abstract& {
        return RequireNative<AbstractObject>(At(qmAbstract)).record();
      });
    });
  }
  STDMETHODIMP Get_Soundex(BSTR NameIn, BSTR* result) override {
    return Get(result, [&] { return matcher_.Get_Soundex(Text(NameIn)); });
  }
  STDMETHODIMP Get_StringMatch_Score(BSTR str1, BSTR str2, LONG* result) override {
    return Get(result, [&] { return matcher_.Get_StringMatch_Score(Text(str1), Text(str2)); });
  }
  STDMETHODIMP GetMatchScore(IDispatch* rsAbstract, IDispatch* rsBlock, short* result) override {
    return Get(result,
               [&] { return matcher_.GetMatchScore(*Scored(rsAbstract), *Scored(rsBlock)); });
  }
  STDMETHODIMP get_CutoffScore(short* result) override {
    return Get(result, [&] { return matcher_.CutoffScore(); });
  }
  STDMETHODIMP put_CutoffScore(short newval) override {
    return Do([&] { matcher_.SetCutoffScore(newval); });
  }
  STDMETHODIMP ReadMatchingParams(BSTR* con, VARIANT_BOOL* result) override {
    return Get(result, [&] { return matcher_.ReadMatchingParams(Text(con)); });
  }
  STDMETHODIMP GetMatchingPatientIDsRemote(BSTR strCon, IDispatch* objAbstract,
                                           BSTR* result) override {
    return Get(result, [&] {
      const LateBound abstract{ComPointer<IDispatch>(objAbstract)};
      return matcher_.GetMatchingPatientIDsRemote(Text(strCon), [&](std::string_view name) {
        return FromPlatform(abstract
                                .Invoke(DISPID_VALUE, DISPATCH_PROPERTYGET | DISPATCH_METHOD,
                                        ArgumentsOf(PlatformVariant(Variant(name))))
                                .get());
      });
    });
  }

 private:
  Matcher matcher_;
};

}  // namespace

IDispatch* CreateMatcher() { return MakeObject<MatcherObject>(); }

}  // namespace qm::component

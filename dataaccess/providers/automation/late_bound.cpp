#include "dataaccess/providers/automation/late_bound.h"

#include <algorithm>
#include <cstdint>

#include <qm/error.h>

namespace qm {

namespace {

constexpr std::uint32_t kControlFacility = 0x800A0000U;

std::int32_t NumberOf(SCODE code) {
  const auto bits = static_cast<std::uint32_t>(code);
  if ((bits & 0xFFFF0000U) == kControlFacility) return static_cast<std::int32_t>(bits & 0xFFFFU);
  switch (code) {
    case DISP_E_MEMBERNOTFOUND:
    case DISP_E_UNKNOWNNAME:
      return kErrNoSuchMember;
    case DISP_E_TYPEMISMATCH:
      return kErrTypeMismatch;
    case DISP_E_OVERFLOW:
      return kErrOverflow;
    case DISP_E_BADINDEX:
      return kErrSubscript;
    case DISP_E_BADPARAMCOUNT:
    case DISP_E_PARAMNOTOPTIONAL:
      return kErrWrongArgumentCount;
    default:
      return code;
  }
}

std::string TakeText(BSTR text) {
  std::string result = FromBstr(text);
  SysFreeString(text);
  return result;
}

bool IsDescribed(const EXCEPINFO& raised) {
  return raised.bstrDescription != nullptr || raised.bstrSource != nullptr;
}

// The words of a failure, from the thread's error information where the object gave no others.
void FillIn(EXCEPINFO& raised, HRESULT outcome) {
  if (raised.pfnDeferredFillIn != nullptr) raised.pfnDeferredFillIn(&raised);
  const bool of_the_call =
      HRESULT_FACILITY(outcome) == FACILITY_DISPATCH && outcome != DISP_E_EXCEPTION;
  if (of_the_call || IsDescribed(raised)) return;
  ComPointer<IErrorInfo> information;
  if (GetErrorInfo(0, information.Receive()) != S_OK) return;
  information->GetSource(&raised.bstrSource);
  information->GetDescription(&raised.bstrDescription);
}

[[noreturn]] void RaiseException(EXCEPINFO& raised) {
  const std::string source = TakeText(raised.bstrSource);
  std::string description = TakeText(raised.bstrDescription);
  SysFreeString(raised.bstrHelpFile);
  const std::int32_t number = raised.wCode != 0 ? raised.wCode : NumberOf(raised.scode);
  if (description.empty()) description = RunTimeDescription(number);
  // What is no number of the languages came from the engine behind the object.
  throw Error(number, source, description, number < 0 ? raised.scode : 0);
}

[[noreturn]] void RaiseOutcome(HRESULT outcome) {
  const std::int32_t number = NumberOf(outcome);
  throw Error(number, "QMDataObjects2", std::string(RunTimeDescription(number)));
}

}  // namespace

LateBound::LateBound(ComPointer<IDispatch> object)
    : object_(std::move(object)), extended_(ComPointer<IDispatchEx>::From(object_.get())) {}

HRESULT LateBound::AskForId(const std::wstring& member, DISPID& id) const {
  std::wstring name(member);
  if (extended_) {
    BSTR const text = SysAllocString(name.c_str());
    const HRESULT outcome = extended_->GetDispID(text, fdexNameCaseInsensitive, &id);
    SysFreeString(text);
    return outcome;
  }
  LPOLESTR names = name.data();
  return object_->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &id);
}

DISPID LateBound::Find(std::wstring_view member) const {
  if (!object_) RaiseRunTime(kErrObjectNotSet);
  if (const auto known = members_.find(member); known != members_.end()) return known->second;
  const std::wstring name(member);
  DISPID id = DISPID_UNKNOWN;
  if (FAILED(AskForId(name, id))) {
    RaiseRunTime(kErrNoSuchMember, FromBstr(name.data(), static_cast<UINT>(name.size())));
  }
  members_.emplace(name, id);
  return id;
}

bool LateBound::Has(std::wstring_view member) const {
  DISPID id = DISPID_UNKNOWN;
  return object_ && SUCCEEDED(AskForId(std::wstring(member), id));
}

PlatformVariant LateBound::Invoke(DISPID member, WORD kind, Arguments arguments) const {
  if (!object_) RaiseRunTime(kErrObjectNotSet);
  std::vector<VARIANT> reversed;
  for (const PlatformVariant& argument : arguments) reversed.push_back(argument.get());
  std::reverse(reversed.begin(), reversed.end());
  DISPPARAMS call{reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
  DISPID put = DISPID_PROPERTYPUT;
  if ((kind & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0) {
    call.rgdispidNamedArgs = &put;
    call.cNamedArgs = 1;
  }
  PlatformVariant result;
  EXCEPINFO raised{};
  UINT wrong_argument = 0;
  const bool gives = call.cNamedArgs == 0;
  VARIANT* const place = gives ? result.Receive() : nullptr;
  SetErrorInfo(0, nullptr);
  const HRESULT outcome = extended_ ? extended_->InvokeEx(member, LOCALE_USER_DEFAULT, kind, &call,
                                                          place, &raised, nullptr)
                                    : object_->Invoke(member, IID_NULL, LOCALE_USER_DEFAULT, kind,
                                                      &call, place, &raised, &wrong_argument);
  if (FAILED(outcome)) FillIn(raised, outcome);
  if (outcome == DISP_E_EXCEPTION || (FAILED(outcome) && IsDescribed(raised))) {
    if (raised.scode == 0 && raised.wCode == 0) raised.scode = outcome;
    RaiseException(raised);
  }
  if (FAILED(outcome)) RaiseOutcome(outcome);
  return result;
}

PlatformVariant LateBound::Call(std::wstring_view member, Arguments arguments) const {
  return Invoke(Find(member), DISPATCH_METHOD | DISPATCH_PROPERTYGET, std::move(arguments));
}

void LateBound::Put(std::wstring_view member, PlatformVariant value) const {
  Invoke(Find(member), DISPATCH_PROPERTYPUT, ArgumentsOf(std::move(value)));
}

void LateBound::PutReference(std::wstring_view member, IDispatch* object) const {
  Invoke(Find(member), DISPATCH_PROPERTYPUTREF, ArgumentsOf(PlatformVariant::Object(object)));
}

LateBound LateBound::Object(std::wstring_view member, Arguments arguments) const {
  const PlatformVariant value = Call(member, std::move(arguments));
  auto object = ObjectIn(value.get());
  if (!object) RaiseRunTime(kErrTypeMismatch);
  return LateBound(std::move(object));
}

ComPointer<IDispatch> ObjectIn(const VARIANT& value) {
  if (value.vt == (VT_BYREF | VT_VARIANT)) return ObjectIn(*value.pvarVal);
  IUnknown* object = nullptr;
  if (value.vt == VT_DISPATCH || value.vt == VT_UNKNOWN) object = value.punkVal;
  if (value.vt == (VT_BYREF | VT_DISPATCH) || value.vt == (VT_BYREF | VT_UNKNOWN)) {
    object = *value.ppunkVal;
  }
  return ComPointer<IDispatch>::From(object);
}

}  // namespace qm

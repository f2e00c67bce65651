#include "component/dispatch_call.h"

#include <algorithm>
#include <new>
#include <vector>

#include "component/bound_argument.h"

namespace qm::component {

namespace {

constexpr WORD kReads = DISPATCH_METHOD | DISPATCH_PROPERTYGET;
constexpr WORD kPuts = DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF;

bool IsPut(const DispatchCall& call) { return (call.kinds & kPuts) != 0; }

UINT ArgumentCount(const DispatchCall& call) { return call.parameters->cArgs; }

std::size_t ParameterCount(const Member& member) {
  return member.parameters.size() - (member.gives_result ? 1 : 0);
}

// The caller's variant for a parameter, or null. Arguments stand in reverse, named ones first.
VARIANT* ArgumentFor(const DISPPARAMS& given, std::size_t index, bool is_put_value) {
  for (UINT i = 0; i < given.cNamedArgs; ++i) {
    const DISPID name = given.rgdispidNamedArgs[i];
    if (is_put_value ? name == DISPID_PROPERTYPUT : name == static_cast<DISPID>(index)) {
      return &given.rgvarg[i];
    }
  }
  const std::size_t unnamed = given.cArgs - given.cNamedArgs;
  if (is_put_value || index >= unnamed) return nullptr;
  return &given.rgvarg[given.cArgs - 1 - index];
}

bool NamesUnknown(const DISPPARAMS& given, std::size_t count) {
  return std::any_of(
      given.rgdispidNamedArgs, given.rgdispidNamedArgs + given.cNamedArgs, [&](DISPID name) {
        return name != DISPID_PROPERTYPUT && (name < 0 || static_cast<std::size_t>(name) >= count);
      });
}

void FillException(HRESULT failure, EXCEPINFO* exception) {
  *exception = EXCEPINFO{};
  exception->scode = failure;
  ComPointer<IErrorInfo> information;
  if (GetErrorInfo(0, information.Receive()) != S_OK) return;
  information->GetSource(&exception->bstrSource);
  information->GetDescription(&exception->bstrDescription);
}

HRESULT CallMember(IDispatch* object, const Member& member, std::vector<BoundArgument>& bound,
                   EXCEPINFO* exception) {
  std::vector<VARTYPE> types;
  std::vector<VARIANT*> values;
  for (std::size_t i = 0; i < bound.size(); ++i) {
    VARIANT& passed = bound[i].Passed();
    // A variant by value is passed whole, not what is in it.
    const bool whole = member.parameters[i].type == VT_VARIANT &&
                       !member.parameters[i].by_reference && !member.parameters[i].array;
    types.push_back(whole ? VARTYPE{VT_VARIANT} : passed.vt);
    values.push_back(&passed);
  }
  SetErrorInfo(0, nullptr);
  VARIANT outcome{};
  const HRESULT called =
      DispCallFunc(object, member.slot * sizeof(void*), CC_STDCALL, VT_I4,
                   static_cast<UINT>(bound.size()), types.data(), values.data(), &outcome);
  if (FAILED(called)) return called;
  if (SUCCEEDED(outcome.lVal)) return S_OK;
  if (exception == nullptr) return outcome.lVal;
  FillException(outcome.lVal, exception);
  return DISP_E_EXCEPTION;
}

HRESULT Call(IDispatch* object, const Member& member, const DispatchCall& call, VARIANT* result) {
  const std::size_t count = ParameterCount(member);
  if (ArgumentCount(call) > count) return DISP_E_BADPARAMCOUNT;
  if (NamesUnknown(*call.parameters, count)) return DISP_E_PARAMNOTFOUND;
  std::vector<BoundArgument> bound;
  bound.reserve(member.parameters.size());
  for (std::size_t i = 0; i < member.parameters.size(); ++i) {
    BoundArgument& argument = bound.emplace_back(member.parameters[i]);
    if (i == count) {
      argument.BindResult();
      continue;
    }
    VARIANT* const given = ArgumentFor(*call.parameters, i, IsPut(call) && i + 1 == count);
    const HRESULT outcome = argument.Bind(given, call.locale);
    if (FAILED(outcome)) {
      if (call.wrong_argument != nullptr && given != nullptr) {
        *call.wrong_argument = static_cast<UINT>(given - call.parameters->rgvarg);
      }
      return outcome;
    }
  }
  HRESULT outcome = CallMember(object, member, bound, call.exception);
  // What a call changed before it failed stays changed.
  for (std::size_t i = 0; i < count; ++i) {
    const HRESULT written = bound[i].WriteBack(call.locale);
    if (SUCCEEDED(outcome)) outcome = written;
  }
  if (FAILED(outcome)) return outcome;
  PlatformVariant unused;
  if (result == nullptr) result = &unused.get();
  VariantInit(result);
  return member.gives_result ? bound.back().TakeResult(result) : S_OK;
}

// Gets the object that a member gives, with the arguments that it takes (the foremost, which stand
// last), and makes the call to its default member with the others.
HRESULT CallThrough(IDispatch* object, const Member& giver, const DispatchCall& call) {
  const std::size_t taken = ParameterCount(giver);
  // The value that is put is not one of the giver's arguments.
  if (ArgumentCount(call) < taken + (IsPut(call) ? 1 : 0)) {
    return IsPut(call) ? DISP_E_MEMBERNOTFOUND : DISP_E_BADPARAMCOUNT;
  }
  const auto left = static_cast<UINT>(ArgumentCount(call) - taken);
  DISPPARAMS foremost{call.parameters->rgvarg + left, nullptr, static_cast<UINT>(taken), 0};
  DispatchCall get = call;
  get.kinds = kReads;
  get.parameters = &foremost;
  PlatformVariant given;
  HRESULT outcome = Call(object, giver, get, given.Receive());
  if (FAILED(outcome)) return outcome;
  if (given.get().vt != VT_DISPATCH || given.get().pdispVal == nullptr) {
    return IsPut(call) ? DISP_E_MEMBERNOTFOUND : DISP_E_BADPARAMCOUNT;
  }
  DISPPARAMS rest = *call.parameters;
  rest.cArgs = left;
  return given.get().pdispVal->Invoke(DISPID_VALUE, IID_NULL, call.locale, call.kinds, &rest,
                                      call.result, call.exception, call.wrong_argument);
}

HRESULT DispatchTrapped(IDispatch* object, const InterfaceTable& table, const DispatchCall& call) {
  const Member* const member = table.Find(call.member, call.kinds);
  if (member == nullptr) {
    const Member* const giver = table.Find(call.member, DISPATCH_PROPERTYGET);
    // A plain assignment to what can only be read goes no further, save to a default member.
    const bool through =
        IsPut(call) && giver != nullptr &&
        (call.member == DISPID_VALUE || ArgumentCount(call) > ParameterCount(*giver) + 1);
    return through ? CallThrough(object, *giver, call) : DISP_E_MEMBERNOTFOUND;
  }
  const bool takes_fewer = ArgumentCount(call) > ParameterCount(*member);
  if (takes_fewer && member->kind == INVOKE_PROPERTYGET && call.parameters->cNamedArgs == 0) {
    return CallThrough(object, *member, call);
  }
  return Call(object, *member, call, call.result);
}

}  // namespace

HRESULT Dispatch(IDispatch* object, const InterfaceTable& table,
                 const DispatchCall& call) noexcept {
  const DISPPARAMS* const given = call.parameters;
  if (given == nullptr || given->cNamedArgs > given->cArgs ||
      (given->cArgs != 0 && given->rgvarg == nullptr) ||
      (given->cNamedArgs != 0 && given->rgdispidNamedArgs == nullptr)) {
    return E_INVALIDARG;
  }
  try {
    return DispatchTrapped(object, table, call);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace qm::component

// dispatch_call: IDispatch::Invoke for every class of the component, driven by the type library.
//
// Before the call each parameter gets a value of exactly its type: the caller's, converted by the
// platform's rules; its default where it is omitted; a place of ours where it goes by reference,
// and what the call changed there goes back into the caller's variable in the form the caller used.
// Arrays of variants, the only ones that script languages have, are taken for typed arrays and
// given for them. The member is then called through the vtable, as an early-bound client would.
//
// The default member of a result takes what its giver does not: `rs("Name")` is
// `rs.Fields.Item("Name")`, and a value put there goes on to that.
#pragma once

#include "component/interface_table.h"

namespace qm::component {

struct DispatchCall {
  DISPID member;
  LCID locale;
  WORD kinds;
  DISPPARAMS* parameters;
  VARIANT* result;
  EXCEPINFO* exception;
  UINT* wrong_argument;
};

HRESULT Dispatch(IDispatch* object, const InterfaceTable& table, const DispatchCall& call) noexcept;

}  // namespace qm::component

// BoundArgument: one parameter of a late-bound call with its value, from the caller's variant and
// back. `Bind`, then `Passed` for the call, then `WriteBack` once it returned. What the call left
// as it was is not written back; an array that the caller has fixed or locked is fixed for the call
// too, and its elements are changed in place.
#pragma once

#include "component/interface_table.h"

namespace qm::component {

class BoundArgument {
 public:
  explicit BoundArgument(const Parameter& parameter) : parameter_(&parameter) {}
  BoundArgument(BoundArgument&&) = default;
  BoundArgument& operator=(BoundArgument&&) = delete;
  ~BoundArgument();

  /// `given` is null for an omitted argument. DISP_E_PARAMNOTOPTIONAL, DISP_E_TYPEMISMATCH, …
  HRESULT Bind(VARIANT* given, LCID locale);
  /// A place for the result, which is a parameter too.
  void BindResult();
  /// What the vtable's function is given.
  VARIANT& Passed() { return passed_; }
  HRESULT WriteBack(LCID locale);
  /// The result, as late-bound callers want it.
  HRESULT TakeResult(VARIANT* result);

 private:
  HRESULT BindObject(const VARIANT& given);
  HRESULT BindArray(const VARIANT& given, LCID locale);
  HRESULT BindValue(const VARIANT& given, LCID locale);
  void BindOmitted();
  void PointToValue();
  HRESULT WriteArrayBack(VARIANT& target, LCID locale);

  const Parameter* parameter_;
  VARIANT* given_ = nullptr;
  PlatformVariant value_;   ///< of exactly the parameter's type
  PlatformVariant before_;  ///< the same before the call, where it goes by reference
  VARIANT passed_{};        ///< the value, or the reference to it; owns nothing
};

}  // namespace qm::component

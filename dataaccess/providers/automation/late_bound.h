// LateBound: an object of another's, known by its member names only.
//
// Every call is one IDispatch::Invoke; objects written as scripts are asked through IDispatchEx, as
// script hosts do. What the object raises comes out as qm::Error with its
// number (run-time and data-access numbers without their facility), source and description; a
// member that it lacks is 438.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <qm/variant.h>

#include "dataaccess/providers/automation/com_pointer.h"
#include "dataaccess/providers/automation/variant_conversion.h"

namespace qm {

class LateBound {
 public:
  LateBound() = default;
  explicit LateBound(ComPointer<IDispatch> object);

  IDispatch* get() const { return object_.get(); }
  explicit operator bool() const { return static_cast<bool>(object_); }

  using Arguments = std::vector<PlatformVariant>;
  /// A method, or a property's value: objects written as scripts do not tell them apart.
  PlatformVariant Call(std::wstring_view member, Arguments arguments = {}) const;
  void Put(std::wstring_view member, PlatformVariant value) const;
  void PutReference(std::wstring_view member, IDispatch* object) const;
  /// The object that a member gives; 13 when it gives none.
  LateBound Object(std::wstring_view member, Arguments arguments = {}) const;
  bool Has(std::wstring_view member) const;

  /// `arguments` stand in the order of the call.
  PlatformVariant Invoke(DISPID member, WORD kind, Arguments arguments) const;

 private:
  DISPID Find(std::wstring_view member) const;
  HRESULT AskForId(const std::wstring& member, DISPID& id) const;

  ComPointer<IDispatch> object_;
  ComPointer<IDispatchEx> extended_;  ///< where the object has it
  mutable std::map<std::wstring, DISPID, std::less<>> members_;
};

/// Arguments of a late-bound call, converted one by one.
template <typename... Values>
LateBound::Arguments ArgumentsOf(Values&&... values) {
  LateBound::Arguments result;
  result.reserve(sizeof...(values));
  (result.push_back(std::forward<Values>(values)), ...);
  return result;
}

inline PlatformVariant TextArgument(std::string_view text) {
  return PlatformVariant(Variant(text));
}

/// The reference that a value holds, or nothing.
ComPointer<IDispatch> ObjectIn(const VARIANT& value);

}  // namespace qm

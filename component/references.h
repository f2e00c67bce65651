// Identity across the edge: what the library shares by reference (connections, recordsets, layouts)
// has one object a thread for as long as a client holds it.
#pragma once

#include <map>
#include <memory>

#include "component/automation_object.h"
#include "component/values.h"

namespace qm::component {

/// The object that stands for something of the library's, counted for the caller, or null.
IDispatch* StandingObject(const void* represented);
void Stand(const void* represented, IDispatch* object);
void NoLongerStand(const void* represented);

/// The one object of class `Self` for what is represented, made where there is none; counted for
/// the caller. `Self` is made with the reference, and calls `NoLongerStand` in its destructor.
template <typename Self, typename Represented>
Self* StandIn(const std::shared_ptr<Represented>& represented) {
  const void* const key = represented.get();
  if (IDispatch* const known = StandingObject(key)) return static_cast<Self*>(known);
  Self* const fresh = MakeObject<Self>(represented);
  Stand(key, fresh);
  return fresh;
}

}  // namespace qm::component

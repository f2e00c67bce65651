// Strangers: which object of ours drives which object of another's, on this thread, by identity.
#pragma once

#include <map>
#include <memory>

#include "dataaccess/providers/automation/com_pointer.h"
#include "runtime/thread_state.h"

namespace qm {

template <typename Ours>
class Strangers {
 public:
  /// The driver of `object`, empty where there is none. The identity stays valid as a key while the
  /// driver holds the object.
  static std::weak_ptr<Ours>& DriverOf(IDispatch* object) {
    return ThreadState<Strangers>().drivers_[IdentityOf(object)];
  }
  static void Forget(IDispatch* object) {
    ThreadState<Strangers>().drivers_.erase(IdentityOf(object));
  }

  bool HoldsAnything() const { return false; }  // they are held by whoever uses them

 private:
  static IUnknown* IdentityOf(IDispatch* object) {
    return ComPointer<IUnknown>::From(object).get();
  }

  std::map<IUnknown*, std::weak_ptr<Ours>> drivers_;
};

}  // namespace qm

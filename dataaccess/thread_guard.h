// ThreadGuard: in debug builds, asserts that an object is used by the thread that made it.
#pragma once

#ifdef QM_DEBUG
#include <cassert>
#include <thread>
#endif

namespace qm {

class ThreadGuard {
 public:
#ifdef QM_DEBUG
  void AssertThread() const { assert(owner_ == std::this_thread::get_id()); }

 private:
  std::thread::id owner_ = std::this_thread::get_id();
#else
  void AssertThread() const {}
#endif
};

}  // namespace qm

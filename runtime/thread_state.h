// ThreadState: what one thread keeps of one floor (session, matching, …), made at its first use.
//
// It ends with the thread, or earlier by `EndThreadState`. A program unit that the platform may
// unload calls `AbandonThreadStates` once: the end of a thread then leaves its state alone, since
// closing connections is not allowed at that moment, and the unit ends it while the thread is still
// free to act.
#pragma once

#include <memory>

namespace qm {

class ThreadStateHolder {
 public:
  virtual ~ThreadStateHolder() = default;
  virtual void End() = 0;
  virtual bool HoldsAnything() const = 0;
};

/// Ends the calling thread's states, the youngest first; the next use makes new ones.
void EndThreadState();
/// Whether any of the calling thread's states holds what its next user would miss.
bool ThreadStateHoldsAnything();
/// To be called before the first use on any thread.
void AbandonThreadStates();

/// The calling thread's holder under that key, or null.
ThreadStateHolder* FindThreadState(const void* key);
ThreadStateHolder& AddThreadState(const void* key, std::unique_ptr<ThreadStateHolder> holder);

/// The calling thread's state of that type, which has `bool HoldsAnything() const`.
template <typename State>
State& ThreadState() {
  class Holder final : public ThreadStateHolder {
   public:
    State& Get() {
      if (!state_) state_ = std::make_unique<State>();
      return *state_;
    }
    void End() override { state_.reset(); }
    bool HoldsAnything() const override { return state_ && state_->HoldsAnything(); }

   private:
    std::unique_ptr<State> state_;
  };
  static const char key = 0;  // one for each type
  ThreadStateHolder* holder = FindThreadState(&key);
  if (holder == nullptr) holder = &AddThreadState(&key, std::make_unique<Holder>());
  return static_cast<Holder*>(holder)->Get();
}

}  // namespace qm

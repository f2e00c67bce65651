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
  ThreadStateHolder(const ThreadStateHolder&) = delete;
  ThreadStateHolder& operator=(const ThreadStateHolder&) = delete;
  virtual void End() = 0;
  virtual bool HoldsAnything() const = 0;

 protected:
  ThreadStateHolder();  ///< becomes known to the functions below
  ~ThreadStateHolder() = default;
};

/// Ends the calling thread's states, the youngest first; the next use makes new ones.
void EndThreadState();
/// Whether any of the calling thread's states holds what its next user would miss.
bool ThreadStateHoldsAnything();

void AbandonThreadStates();
bool ThreadStatesAreAbandoned();

/// The calling thread's state of that type, which has `bool HoldsAnything() const`.
template <typename State>
State& ThreadState() {
  class Holder final : public ThreadStateHolder {
   public:
    ~Holder() {
      if (ThreadStatesAreAbandoned()) static_cast<void>(state_.release());
    }
    State& Get() {
      if (!state_) state_ = std::make_unique<State>();
      return *state_;
    }
    void End() override { state_.reset(); }
    bool HoldsAnything() const override { return state_ && state_->HoldsAnything(); }

   private:
    std::unique_ptr<State> state_;
  };
  thread_local Holder holder;
  return holder.Get();
}

}  // namespace qm

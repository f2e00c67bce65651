#include <qm/hooks.h>

#include <thread>
#include <utility>

#include "runtime/thread_state.h"

namespace qm {

namespace {

struct Hooks {
  MessagePresenter presenter;
  Waiter waiter;
  bool HoldsAnything() const { return false; }  // whoever set them sets them anew
};

Hooks& ThreadHooks() { return ThreadState<Hooks>(); }

}  // namespace

MessagePresenter SetMessagePresenter(MessagePresenter presenter) {
  return std::exchange(ThreadHooks().presenter, std::move(presenter));
}

Waiter SetWaiter(Waiter waiter) { return std::exchange(ThreadHooks().waiter, std::move(waiter)); }

MessageAnswer ShowMessage(const Message& message) {
  if (const auto& presenter = ThreadHooks().presenter) return presenter(message);
  return message.buttons == MessageButtons::kYesNo ? MessageAnswer::kNo : MessageAnswer::kOk;
}

void Wait(std::chrono::milliseconds duration) {
  if (const auto& waiter = ThreadHooks().waiter) {
    waiter(duration);
  } else {
    std::this_thread::sleep_for(duration);
  }
}

}  // namespace qm

#include "runtime/thread_state.h"

#include <algorithm>
#include <atomic>
#include <utility>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#endif

namespace qm {

namespace {

using States = std::vector<std::pair<const void*, std::unique_ptr<ThreadStateHolder>>>;

std::atomic<bool> abandoned = false;
thread_local States* current = nullptr;

void End(States& states) {
  for (auto i = states.size(); i > 0; --i) states[i - 1].second->End();
}

#ifdef _WIN32

// The standard library gives thread-local objects' memory back before it destroys them, so they
// have to stand elsewhere, and their end is asked of the platform.
void WINAPI EndOfThread(void* states) {
  if (states == nullptr) return;
  // For a state that uses another while it ends: the pointer's own memory may be gone already.
  current = static_cast<States*>(states);
  End(*current);
  delete std::exchange(current, nullptr);
}

void OwnStates(States* states) {
  if (abandoned) return;
  static const DWORD slot = FlsAlloc(&EndOfThread);
  FlsSetValue(slot, states);
}

#else

struct Owner {
  std::unique_ptr<States> states;
  Owner() = default;
  Owner(const Owner&) = delete;
  Owner& operator=(const Owner&) = delete;
  ~Owner() {
    if (states) End(*states);
    current = nullptr;
  }
};

void OwnStates(States* states) {
  thread_local Owner owner;
  owner.states.reset(states);
}

#endif

States& CurrentStates() {
  if (current == nullptr) {
    current = new States;
    OwnStates(current);
  }
  return *current;
}

}  // namespace

void EndThreadState() {
  if (current == nullptr) return;
  End(*current);
#ifdef _WIN32
  if (abandoned) delete std::exchange(current, nullptr);  // no end of the thread does it
#endif
}

bool ThreadStateHoldsAnything() {
  return current != nullptr && std::any_of(current->begin(), current->end(), [](const auto& entry) {
           return entry.second->HoldsAnything();
         });
}

void AbandonThreadStates() { abandoned = true; }

ThreadStateHolder* FindThreadState(const void* key) {
  for (const auto& [known, holder] : CurrentStates()) {
    if (known == key) return holder.get();
  }
  return nullptr;
}

ThreadStateHolder& AddThreadState(const void* key, std::unique_ptr<ThreadStateHolder> holder) {
  return *CurrentStates().emplace_back(key, std::move(holder)).second;
}

}  // namespace qm

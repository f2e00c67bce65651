#include "runtime/thread_state.h"

#include <algorithm>
#include <atomic>
#include <vector>

namespace qm {

namespace {

std::atomic<bool> abandoned = false;

// Made before the first holder, so that it outlives them all.
std::vector<ThreadStateHolder*>& Holders() {
  thread_local std::vector<ThreadStateHolder*> holders;
  return holders;
}

}  // namespace

ThreadStateHolder::ThreadStateHolder() { Holders().push_back(this); }

void EndThreadState() {
  auto& holders = Holders();
  for (auto i = holders.size(); i > 0; --i) holders[i - 1]->End();
}

bool ThreadStateHoldsAnything() {
  const auto& holders = Holders();
  return std::any_of(holders.begin(), holders.end(),
                     [](const ThreadStateHolder* holder) { return holder->HoldsAnything(); });
}

void AbandonThreadStates() { abandoned = true; }
bool ThreadStatesAreAbandoned() { return abandoned; }

}  // namespace qm

#include "runtime/thread_state.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

namespace qm {
namespace {

std::string ended;

template <char kName>
struct Noted {
  bool filled = false;
  bool HoldsAnything() const { return filled; }
  Noted() = default;
  Noted(const Noted&) = delete;
  Noted& operator=(const Noted&) = delete;
  ~Noted() { ended += kName; }
};

TEST(ThreadState, BelongsToItsThreadAndEndsWithItTheYoungestFirst) {
  ended.clear();
  ThreadState<Noted<'a'>>().filled = true;
  std::thread([] {
    EXPECT_FALSE(ThreadState<Noted<'a'>>().filled);
    ThreadState<Noted<'b'>>().filled = true;
    EXPECT_TRUE(ThreadStateHoldsAnything());
    EXPECT_EQ(&ThreadState<Noted<'a'>>(), &ThreadState<Noted<'a'>>());
  }).join();
  EXPECT_EQ(ended, "ba");
  EXPECT_TRUE(ThreadState<Noted<'a'>>().filled);
  EndThreadState();
  EXPECT_EQ(ended, "baa");
  EXPECT_FALSE(ThreadStateHoldsAnything());
  EXPECT_FALSE(ThreadState<Noted<'a'>>().filled) << "the next use makes a new one";
}

// A state that uses another while it ends.
struct Uses {
  bool HoldsAnything() const { return false; }
  Uses() = default;
  Uses(const Uses&) = delete;
  Uses& operator=(const Uses&) = delete;
  ~Uses() { ThreadState<Noted<'c'>>().filled = true; }
};

TEST(ThreadState, MayBeUsedWhileAnotherEnds) {
  ended.clear();
  std::thread([] { ThreadState<Uses>(); }).join();
  EXPECT_EQ(ended, "c");
}

}  // namespace
}  // namespace qm

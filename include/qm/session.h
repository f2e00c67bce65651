// The per-thread session: the connections, names and recordsets that every class of the library
// reaches the databases through. It starts empty on every thread, belongs to no object, and ends
// with the thread.
#pragma once

#include <memory>

#include <qm/api.h>

namespace qm {

/// Gives a block a session of its own (connections, global recordsets, column lists), and
/// puts the thread's former session back at its end. For thread pools and tests.
class QM_API SessionScope {
 public:
  SessionScope();
  ~SessionScope();
  SessionScope(const SessionScope&) = delete;
  SessionScope& operator=(const SessionScope&) = delete;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace qm

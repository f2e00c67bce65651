#include "session/session_state.h"

namespace qm {

const std::shared_ptr<Connection>& ConnectionSlot::Get() {
  if (!connection_) connection_ = Connection::Create();
  return connection_;
}

SessionState& CurrentSession() {
  thread_local SessionState state;
  return state;
}

struct SessionScope::Impl {
  SessionState outer;
};

SessionScope::SessionScope() : impl_(std::make_unique<Impl>()) {
  impl_->outer = std::exchange(CurrentSession(), SessionState{});
}

SessionScope::~SessionScope() { CurrentSession() = std::move(impl_->outer); }

}  // namespace qm

#include "session/session_state.h"

#include "runtime/thread_state.h"

namespace qm {

const std::shared_ptr<Connection>& ConnectionSlot::Get() {
  if (!connection_) connection_ = Connection::Create();
  return connection_;
}

SessionState& CurrentSession() { return ThreadState<SessionState>(); }

bool SessionState::HoldsAnything() const {
  return gcnRegistry.HoldsAnything() || gcnControl.HoldsAnything() || gcnCatval.HoldsAnything() ||
         gcnEdits.HoldsAnything() || gcnInprocess.HoldsAnything() || gcnTrack.HoldsAnything() ||
         !gstrApplicationName.empty() || !gstrUser.empty() || !gstrDataAccessType.empty() ||
         gblnPreserveRecordsets || grsAbstracts || grsPatients || grsMedicalSum ||
         !AbsTableFieldList.front().empty();
}

struct SessionScope::Impl {
  SessionState outer;
};

SessionScope::SessionScope() : impl_(std::make_unique<Impl>()) {
  impl_->outer = std::exchange(CurrentSession(), SessionState{});
}

SessionScope::~SessionScope() { CurrentSession() = std::move(impl_->outer); }

}  // namespace qm

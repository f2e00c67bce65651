// The global recordsets: every physical table of the three families, kept open for the thread.
#pragma once

#include <cstdint>
#include <memory>

#include "records/record_family.h"
#include "session/session_state.h"

namespace qm {

/// The session's recordsets of that family.
GlobalRecordsets& GlobalRecordsetsOf(const RecordFamily& family);

/// Element `index`, counted from 1; an empty one is made, unopened, at its first access. The
/// subscript error (9) outside, and while the family was never opened.
Recordset& GlobalRecordset(GlobalRecordsets& recordsets, int index);
std::shared_ptr<Recordset> SharedGlobalRecordset(GlobalRecordsets& recordsets, int index);

}  // namespace qm

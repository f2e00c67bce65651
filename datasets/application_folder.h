// The folder of the host application, which keeps the EDITS metafiles beside its program.
#pragma once

#include <string>

namespace qm {

/// Folder of the running program, without a separator at its end.
std::string ApplicationFolder();

}  // namespace qm

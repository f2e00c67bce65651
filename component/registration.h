// Registration of the creatable classes and of the type library, for the machine or for one user.
#pragma once

#include "dataaccess/providers/automation/platform.h"

namespace qm::component {

enum class RegistrationScope { kMachine, kUser };

/// Undone as a whole where a part of it fails.
HRESULT Register(RegistrationScope scope) noexcept;
/// Leaves nothing behind; what is not there is no failure.
HRESULT Unregister(RegistrationScope scope) noexcept;

}  // namespace qm::component

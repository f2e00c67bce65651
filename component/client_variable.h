// The variables of clients that a call changes, behind the variants that refer to them.
#pragma once

#include "dataaccess/providers/automation/variant_conversion.h"

namespace qm::component {

/// As the platform converts, save that a truth becomes the text "True" or "False".
HRESULT ChangeType(PlatformVariant& value, VARTYPE type, LCID locale);

/// A value for the variable that `variable` refers to, in the type that this has, or for
/// `variable` itself. No arrays. DISP_E_TYPEMISMATCH, DISP_E_OVERFLOW, …
HRESULT Assign(VARIANT& variable, PlatformVariant value, LCID locale);

}  // namespace qm::component

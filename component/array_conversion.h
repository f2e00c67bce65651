// Arrays of late-bound calls: from one type of elements to another, and compared.
#pragma once

#include "dataaccess/providers/automation/variant_conversion.h"

namespace qm::component {

/// Each element of the one array into its place in the other, which has it, as the platform
/// converts it.
HRESULT CopyElements(SAFEARRAY* from, SAFEARRAY* to, LCID locale);
/// A new array of an element type, with the bounds of another; more than one dimension is refused.
HRESULT MakeLike(SAFEARRAY* model, VARTYPE type, SAFEARRAY** made);
/// The same with the elements.
HRESULT ConvertArray(SAFEARRAY* from, VARTYPE type, LCID locale, SAFEARRAY** to);
/// Of the types that the interfaces pass by reference, arrays of them included; any other counts as
/// different.
bool AreEqual(const VARIANT& a, const VARIANT& b);

}  // namespace qm::component

// The named constants of the expression language (vbCrLf, vbTextCompare, …).
#pragma once

#include <optional>
#include <string_view>

#include <qm/variant.h>

namespace qm {

/// Without regard to case; nothing when the language has no constant of that name.
std::optional<Variant> FindConstant(std::string_view name);

}  // namespace qm

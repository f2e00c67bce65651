// The parts of the review page that are the same in every report, compiled in from review/assets.
#pragma once

#include <span>
#include <string_view>

namespace qm {

/// A text in pieces, since compilers promise no string literal of more than 64 KiB.
using TextPieces = std::span<const std::string_view>;

/// The document, with the marks {{policy}}, {{style}}, {{data}} and {{script}}.
TextPieces ReportDocument();
TextPieces ReportStyle();
TextPieces ReportScript();

}  // namespace qm

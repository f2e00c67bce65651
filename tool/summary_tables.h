// The summary of matching as three tables: scores, blocking rules, cut-offs.
#pragma once

#include <qm/evaluation.h>

#include <ostream>

#include "tool/result_writer.h"

namespace qm::tool {

/// For people three tables with headings. As CSV and JSON one, whose column `Part` tells scores,
/// blocking and cutoffs apart; cells that a part does not have are empty.
void WriteSummary(std::ostream& out, Format format, const MatchSummary& summary);

}  // namespace qm::tool

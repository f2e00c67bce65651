// How the program tells a failure: number, source, what was in work, and the table. What a database
// engine says, and the statement, may quote a patient's data; they are told only when the user
// asked for them.
#pragma once

#include <qm/error.h>

#include <string>

#include "tool/tool.h"

namespace qm::tool {

/// The lines for standard error, without the program's name.
std::string DescribeError(const Error& error, const Tool& tool);

/// The matching rule in work, to tell what was in work: ", rule <script>", or nothing.
std::string RuleInWork();

/// The first table that a statement names; empty when it names none.
std::string TableOf(std::string_view statement);

}  // namespace qm::tool

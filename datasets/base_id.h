// The identifier allocator behind `QMDataSets::BaseID`.
#pragma once

#include <cstdint>
#include <string_view>

namespace qm {

/// The next identifier of a counter in the table BaseIDs. 0 when there is no such counter, -1 when
/// the user gave up; it raises nothing. Competing users are kept apart by the optimistic update
/// alone: a pass that fails is repeated after 500 to 1000 ms, six times, before the user is asked.
std::int32_t GetNextBaseID(std::string_view strTable);

/// The same, where there must be one: no identifier is 3021, naming the counter.
std::int32_t RequireNextBaseID(std::string_view strTable);

}  // namespace qm

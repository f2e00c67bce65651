#include "expression/functions.h"

#include <unordered_map>

#include <qm/conversions.h>
#include <qm/error.h>
#include "runtime/text.h"

namespace qm {

namespace {

using Table = std::unordered_map<std::string, const Function*>;

Table MakeTable() {
  Table table;
  for (const auto group : {TextFunctions(), TextSearchFunctions(), CharacterFunctions(),
                           NumberFunctions(), ConversionFunctions(), TypeTestFunctions()}) {
    for (const Function& function : group) table.emplace(UpperCase(function.name), &function);
  }
  return table;
}

}  // namespace

const Function* FindFunction(std::string_view name) {
  static const Table table = MakeTable();
  const auto found = table.find(UpperCase(name));
  return found == table.end() ? nullptr : found->second;
}

void CheckTextLength(double bytes) {
  if (bytes > static_cast<double>(kLongestText)) RaiseRunTime(kErrStringSpace);
}

std::int32_t WholeArgument(const Variant& value, std::int32_t least) {
  const std::int32_t whole = ToInt32(value);
  if (whole < least) RaiseRunTime(kErrInvalidCall);
  return whole;
}

}  // namespace qm

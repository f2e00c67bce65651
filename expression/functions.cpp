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
  for (const auto group :
       {TextFunctions(), TextSearchFunctions(), CharacterFunctions(), ByteFunctions(),
        EscapeFunctions(), NumberFunctions(), ConversionFunctions(), TypeTestFunctions(),
        ArrayFunctions(), ClockFunctions(), DateFunctions(), DateIntervalFunctions(),
        FormatFunctions(), EngineFunctions()}) {
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

const Variant& OmittedArgument() {
  static const Variant omitted{Variant::Array{}};
  return omitted;
}

bool IsOmitted(const Variant& value) {
  return value.IsArray() && &value.Elements() == &OmittedArgument().Elements();
}

const Variant* OptionalArgument(Arguments args, std::size_t index) {
  return index < args.size() && !IsOmitted(args[index]) ? &args[index] : nullptr;
}

std::int32_t WholeArgument(const Variant& value, std::int32_t least) {
  const std::int32_t whole = ToInt32(value);
  if (whole < least) RaiseRunTime(kErrInvalidCall);
  return whole;
}

std::int32_t WholeArgument(Arguments args, std::size_t index, std::int32_t least,
                           std::int32_t otherwise) {
  const Variant* value = OptionalArgument(args, index);
  return value == nullptr ? otherwise : WholeArgument(*value, least);
}

bool IgnoresCase(Arguments args, std::size_t index) {
  const std::int32_t mode = WholeArgument(args, index, 0, 0);
  if (mode > 1) RaiseRunTime(kErrInvalidCall);
  return mode == 1;
}

}  // namespace qm

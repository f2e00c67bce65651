#include "tool/field_changes.h"

#include <qm/conversions.h>

#include <algorithm>

#include "runtime/text.h"

namespace qm::tool {

namespace {

std::string Quoted(const Variant& value) {
  return value.IsNull() ? "Null" : "'" + ToTextOrEmpty(value) + "'";
}

}  // namespace

void FieldChanges::Remember(const std::string& name) {
  const bool known = std::ranges::any_of(
      fields_, [&name](const Before& field) { return EqualsIgnoreCase(field.name, name); });
  if (known) return;
  const std::int16_t index = layout_.IndexByFieldName(name);
  fields_.push_back({index >= 1 ? layout_.FieldName(index) : name, record_.FieldByName(name)});
}

// A column of numbers holds the text that was set as a number: the texts are compared.
std::string FieldChanges::Text() const {
  std::string text;
  for (const Before& field : fields_) {
    const std::string before = Quoted(field.value);
    const std::string after = Quoted(record_.FieldByName(field.name));
    if (before == after) continue;
    if (!text.empty()) text += "; ";
    text.append(field.name).append(": ").append(before).append(" -> ").append(after);
  }
  return text;
}

}  // namespace qm::tool

// What a record gives of its rows from the current one to the end: a column's greatest value, and
// the rows as XML text.
#include <utility>

#include <qm/conversions.h>

#include "records/split_record.h"

namespace qm {

namespace {

constexpr std::string_view kLineEnd = "\r\n";

}  // namespace

std::string SplitRecord::Max(std::string_view strFieldName) {
  const Variant field(strFieldName);
  std::string greatest = ToText(Fields(field));
  while (!Primary().Eof()) {
    std::string value = ToText(Fields(field));
    if (value > greatest) greatest = std::move(value);
    Move(&qm::Recordset::MoveNext);
  }
  return greatest;
}

// A field that no table of the family holds has no value.
std::string SplitRecord::XmlValue(std::int16_t index) {
  if (!IsTextField(index) && FieldTable(index) == 0) return {};
  return ToTextOrEmpty(FieldByIndex(index));
}

std::string SplitRecord::GetXML() {
  std::string xml;
  const auto append = [&xml](auto... pieces) { (xml.append(pieces), ...); };
  append("<Recordset>", kLineEnd);
  for (std::int32_t row = 1; !Primary().Eof(); ++row) {
    append("<Record Row=\"", std::to_string(row), "\">", kLineEnd, "<Fields>", kLineEnd);
    for (int i = 1; i <= layout_->FieldsCount(); ++i) {
      const auto index = static_cast<std::int16_t>(i);
      append(" <Field Name = \"", std::string_view(layout_->FieldName(index)), "\" Index = \"",
             std::to_string(i), "\" Value= \"", XmlValue(index), "\"/> ");
    }
    append(kLineEnd, "</Fields>", kLineEnd, "</Record>");
    Move(&qm::Recordset::MoveNext);
  }
  append(kLineEnd, "</Recordset>");
  return xml;
}

}  // namespace qm

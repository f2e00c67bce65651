// What the review page shows of abstracts, patients and tumors: items of the record layout, those
// of them that both sides of a pair keep.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <qm/naaccr_layout.h>
#include <qm/record.h>

namespace qm {

/// One line of the page. `kind` tells the page how to show its values: "date", "ssn", "phone" or
/// the name of a list of codes; "text" as they are.
struct ReportField {
  std::int16_t item = 0;
  const char* group = "";
  const char* label = "";
  const char* kind = "text";
  std::int16_t index = 0;  ///< in the layout
};

/// The items that abstracts share with patients, in the order of reading.
std::vector<ReportField> PersonFields(const NAACCRLayout& layout);
/// The items that abstracts share with tumors.
std::vector<ReportField> TumorFields(const NAACCRLayout& layout);
/// The items that tell where an abstract comes from.
std::vector<ReportField> OriginFields(const NAACCRLayout& layout);

/// The record's values of those fields, without blanks at their ends; Null as nothing.
std::vector<std::string> ReportValues(Record& record, const std::vector<ReportField>& fields);

}  // namespace qm

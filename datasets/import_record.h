// ImportRecord: what a reader of import files makes of its input, and what storing takes. A reader
// of another format fills the same: the layout's fields with their values, and the texts.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "datasets/import_layouts.h"
#include "datasets/record_values.h"

namespace qm {

struct ImportRecord {
  ImportLayout* layout = nullptr;
  /// Formatted as a stored abstract holds them.
  RecordValues values;
  /// Element k is text field k.
  std::vector<std::string> texts;
};

}  // namespace qm

// FixedWidthReader: turns a line of an import file into a record of fields and values, or says why
// it is none. Reasons tell what was expected and what was found; they stand in the rejects file,
// beside the line itself.
#pragma once

#include <string>

#include "datasets/import_layouts.h"
#include "datasets/import_lines.h"
#include "datasets/import_record.h"

namespace qm {

class FixedWidthReader {
 public:
  FixedWidthReader(ImportLayouts& layouts, bool utf8) : layouts_(layouts), utf8_(utf8) {}

  /// Why the line is rejected; empty when it is a record, which `Record` then gives.
  std::string Check(const RawLine& line);
  /// The record of the line checked last.
  ImportRecord Record();

 private:
  ImportLayouts& layouts_;
  bool utf8_;
  std::string text_;
  ImportLayout* layout_ = nullptr;
};

}  // namespace qm

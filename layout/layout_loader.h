// LayoutLoader: fills a layout from the field table of the control database, for
// `QMDataSets::GetNAACCRLayout` alone, which sets version and control table first.
//
// Two statements and one ordered pass over the fields. Any failure inside leaves as the platform's
// error 438, and the arrays as far as they were filled; the look-ups then know what is there. The
// first load of a layout reads the tables of its fields; a later one sets them all to 1 and keeps
// the table counts.
#pragma once

#include <string_view>

#include <qm/naaccr_layout.h>

namespace qm {

class LayoutLoader {
 public:
  static void SetVersion(NAACCRLayout& layout, std::string_view version);
  static void SetControlTable(NAACCRLayout& layout, std::string_view table);
  /// `strOrderBy` is an ORDER BY expression over the field table.
  static void LoadNCCRFields(NAACCRLayout& layout, std::string_view strOrderBy);
};

}  // namespace qm

// RecordFamily: all that differs between abstracts, patients and tumors. Retrieval, the global
// recordsets and the record objects are written once and read this table.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <qm/naaccr_layout.h>

namespace qm {

struct RecordFamily {
  std::string_view record_class;  ///< "Abstract", as error sources and messages name it
  std::string_view table;         ///< primary table; secondary ones append "_" and their number
  std::string_view global_table;  ///< the same as the global recordsets hand it to the database
  std::string_view key;           ///< key column of every table of the family
  std::string_view select_key;    ///< the key as the statement of a secondary table spells it

  // Columns of the family's own, in upper case, that `getTable` knows without the layout.
  std::span<const std::string_view> primary_prefixes;  ///< of seven characters: table 1
  std::span<const std::string_view> primary_columns;   ///< table 1
  std::string_view audit_column;
  int audit_table;
  /// Whether `getTable` raises its failures under a number of its own.
  bool traps_get_table;

  std::vector<std::int16_t> ControlArrays::*table_codes;
  std::int16_t (NAACCRLayout::*table_count)() const;
};

extern const RecordFamily kAbstractFamily;
extern const RecordFamily kPatientFamily;
extern const RecordFamily kTumorFamily;

/// Name of a family's table, counted from 1: the primary name, then name, "_" and the number.
std::string TableName(std::string_view primary, int table);

/// A column of the family's own: its table, or 0 for any other name. Without regard to case.
int OwnColumnTable(const RecordFamily& family, std::string_view name);

}  // namespace qm

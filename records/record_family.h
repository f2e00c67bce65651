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
  std::vector<std::int16_t> ControlArrays::*membership;
  std::int16_t (NAACCRLayout::*table_count)() const;

  /// The texts follow the record: read again after every move, written back by `Update`.
  bool texts_follow;
  /// Whether `Find` marks the secondary tables stale before it searches, or after.
  bool find_marks_stale_first;
  /// Whether `SeekRecord` marks the secondary tables stale at all.
  bool seek_marks_stale;
  /// Tables whose stale flags the let of `BookMark` clears, as far as the record has them.
  std::int16_t (NAACCRLayout::*bookmark_count)() const;
  /// Whether `AddNew` opens closed tables first.
  bool add_new_opens;

  std::string_view save_source;  ///< what the sources of `Update` and `CancelUpdate` begin with
  std::int32_t update_error;     ///< beyond kObjectErrorBase
  std::int32_t cancel_error;
};

/// The column of a primary table that holds the texts.
inline constexpr std::string_view kMemoColumn = "Remarks";

extern const RecordFamily kAbstractFamily;
extern const RecordFamily kPatientFamily;
extern const RecordFamily kTumorFamily;

/// Name of a family's table, counted from 1: the primary name, then name, "_" and the number.
std::string TableName(std::string_view primary, int table);

/// A column of the family's own: its table, or 0 for any other name. Without regard to case.
int OwnColumnTable(const RecordFamily& family, std::string_view name);

}  // namespace qm

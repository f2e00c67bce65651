// Record: one logical record of a family (abstract, patient, tumor), whose columns are spread over
// the family's numbered tables. Table 1 is the primary one; a secondary table is read when one of
// its columns is first asked for, at most once per record.
//
// `QMDataSets` hands records out; a record moves but does not copy. Its fields are read and
// written by index, by name, or by either (`Fields`). With `AutoFormatValues` a value is formatted
// and padded on the way, as its justification code says. Writing changes the row's pending edit.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <qm/api.h>
#include <qm/naaccr_layout.h>
#include <qm/recordset.h>
#include <qm/variant.h>

namespace qm {

class SplitRecord;

class QM_API Record {
 public:
  Record(Record&&) noexcept;
  Record& operator=(Record&&) noexcept;

  /// A number, or a text that reads as one, is a field index; anything else a field name.
  Variant Fields(const Variant& vFieldIndex);
  void SetFields(const Variant& vFieldIndex, const Variant& value);
  Variant FieldByIndex(std::int16_t iFieldIndex);
  void SetFieldByIndex(std::int16_t iFieldIndex, const Variant& value);
  /// A name that the layout does not describe is a column of the family's own (`Remarks`,
  /// `DateEdited`, …), read and written as it stands; an unknown one is the subscript error (9).
  Variant FieldByName(std::string_view strFieldName);
  void SetFieldByName(std::string_view strFieldName, const Variant& value);

  /// The recordset of a table, counted from 1. An index beyond the tables is base + 1206.
  std::shared_ptr<qm::Recordset> Recordset(std::int16_t Index);
  /// All recordsets, the closed ones opened first. Base + 1205 while the primary one is closed.
  std::vector<std::shared_ptr<qm::Recordset>> Recordsets();
  /// The field's table code within this family, as stored.
  std::int16_t FieldTableNo(std::int16_t Index) const;

  bool AutoFormatValues() const;
  void SetAutoFormatValues(bool value);

 protected:
  explicit Record(std::unique_ptr<SplitRecord> record);
  ~Record();

 private:
  std::unique_ptr<SplitRecord> record_;
};

class QM_API Abstract : public Record {
 public:
  /// A placeholder of the interface: reads give "", writes do nothing.
  std::string FieldByNAACCRNum(std::int16_t Index) const;
  void SetFieldByNAACCRNum(std::int16_t Index, const Variant& value);

 private:
  friend class RecordFactory;
  using Record::Record;
};

class QM_API Patient : public Record {
 public:
  /// A placeholder of the interface: reads give Empty, writes do nothing.
  Variant FieldsByNAACCRNum(std::int16_t Index) const;
  void SetFieldsByNAACCRNum(std::int16_t Index, const Variant& value);

 private:
  friend class RecordFactory;
  using Record::Record;
};

class QM_API Tumor : public Record {
 public:
  /// A placeholder of the interface: reads give Empty, writes do nothing.
  Variant FieldsByNAACCRNum(std::int16_t Index) const;
  void SetFieldsByNAACCRNum(std::int16_t Index, const Variant& value);

 private:
  friend class RecordFactory;
  using Record::Record;
};

}  // namespace qm

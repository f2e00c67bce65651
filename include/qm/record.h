// Record: one logical record of a family (abstract, patient, tumor), whose columns are spread over
// the family's numbered tables. Table 1 is the primary one; a secondary table is read when one of
// its columns is first asked for, at most once per record.
//
// `QMDataSets` hands records out; a record moves but does not copy. Its fields are read and
// written by index, by name, or by either (`Fields`). With `AutoFormatValues` a value is formatted
// and padded on the way, as its justification code says. Writing changes the row's pending edit.
//
// Moving moves the primary recordset alone and marks the other tables stale. `Update` saves every
// open table, `CancelUpdate` gives the edits of all of them up. The edit of a secondary table stays
// pending when the record moves on: until it is saved or cancelled, touching that table is 3219.
// The texts are no edit of a recordset: a move of an abstract reads those of the row it reaches,
// unsaved ones are gone; `CancelUpdate`, `SeekRecord` and `AddNew` leave them as they are, and the
// next `Update` of an abstract writes them.
// Failures of the recordsets reach the caller as they are, except where a member says otherwise.
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

  bool AutoFormatValues() const;
  void SetAutoFormatValues(bool value);

  // Moving. Named `Eof` and `Bof`, since the C library's macro EOF bars the published name.
  bool Eof() const;
  bool Bof() const;
  void MoveFirst();
  void MoveLast();
  void MoveNext();
  /// An abstract that moves before its first row reads the texts of no row, which is 3021: test
  /// `Bof` before moving back.
  void MovePrevious();
  /// Forward from the current row to the first that meets the condition, else to the end. The
  /// optional arguments are accepted and not used.
  void Find(std::string_view strCriteria, std::int32_t lSkip = 0, std::int16_t iDirection = 1,
            std::int32_t lStart = 0);
  /// To the first row whose key in the index is `vValue`. An abstract's secondary tables keep
  /// showing the row before.
  void SeekRecord(const Variant& vValue);
  /// The index of every table of the record.
  void SetIndex(std::string_view name);
  /// A placeholder of the interface: does nothing.
  void Filter(std::string_view strFilter);
  /// An array with the bookmark of every open table, Empty for a closed one.
  Variant BookMark() const;
  /// Back to where the bookmarks were taken, without a query. A secondary table that was opened
  /// anew since is read again when it is touched.
  void SetBookMark(const Variant& value);
  std::int32_t RecordCount() const;
  bool SupportsIndex() const;
  std::int16_t State() const;
  /// Closes every open table; 3219 at the first with a pending edit.
  void CloseRecordset();

  // Editing.
  /// Starts a new row under that key in every table, all of which must be open; a tumor opens the
  /// closed ones.
  void AddNew(std::int32_t key);
  /// Saves every open table, in ascending order; an abstract writes its texts back into `Remarks`
  /// first. Base + 1202 (abstract), 1402 (patient), 1502 (tumor); the tables before the failing one
  /// stay saved, the edit of that one stays pending.
  void Update();
  /// Base + 1203, 1403, 1503.
  void CancelUpdate();

  // What is known of a field. Changing it changes this record's view only, not the layout. An index
  // outside the arrays is the subscript error (9). References hold until the next change.
  const std::string& FieldName(std::int16_t Index) const;
  std::string FieldLength(std::int16_t Index) const;
  const std::string& FieldJustification(std::int16_t Index) const;
  std::int16_t FieldStartCol(std::int16_t Index) const;
  std::int16_t FieldStart(std::int16_t Index) const;
  void SetFieldStart(std::int16_t Index, std::int16_t value);
  /// Whether the field belongs to this record's family.
  bool FieldExists(std::int16_t Index) const;
  /// The field's table code within this family, as stored.
  std::int16_t FieldTableNo(std::int16_t Index) const;
  /// Type code; "X" is a text kept in the memo column. All three read the same.
  const std::string& FieldDataType(std::int16_t Index) const;
  const std::string& FieldType(std::int16_t Index) const;
  void SetFieldType(std::int16_t Index, std::string_view value);
  const std::string& FieldPrompting(std::int16_t Index) const;
  const std::string& FieldDefaultVal(std::int16_t Index) const;
  const std::string& FieldDescription(std::int16_t Index) const;
  bool FieldInvisible(std::int16_t Index) const;
  std::int16_t FieldNAACCRNumber(std::int16_t Index) const;
  std::int16_t FieldRow(std::int16_t Index) const;
  void SetFieldRow(std::int16_t Index, std::int16_t value);

  // From the current row to the end, where the record is left.
  /// The greatest value of the field, as text in character-code order. Null is error 94.
  std::string Max(std::string_view strFieldName);
  /// Gives the same as `Max`.
  std::string Min(std::string_view strFieldName);
  /// The rows as XML text, names and values as they are, without escaping; Null as nothing. Only a
  /// text of plain values is well-formed. `QMDataSets::GetAbstractXML` reads it.
  Variant GetXML();

 protected:
  explicit Record(std::unique_ptr<SplitRecord> record);
  ~Record();
  SplitRecord& Split();

 private:
  std::unique_ptr<SplitRecord> record_;
};

class QM_API Abstract : public Record {
 public:
  /// A placeholder of the interface: reads give "", writes do nothing.
  std::string FieldByNAACCRNum(std::int16_t Index) const;
  void SetFieldByNAACCRNum(std::int16_t Index, const Variant& value);

  /// Whether a field that the layout marks critical holds the empty text; a Null is not missing.
  /// The marks are those of `NAACCRLayout::LoadCriticalFields`.
  bool CriticalFieldsMissing();

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

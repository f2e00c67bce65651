// SplitRecord: what the three record classes share. One logical record whose columns are spread
// over the numbered tables of a family; table 1 is the primary one, which drives navigation.
//
// Order of calls: make it with its layout, attach the recordsets (the primary one open), then read
// and write fields, move, search and save. Every move marks the secondary tables stale; each is
// re-queried for the new key before its next use, once. A secondary table that was never asked for
// costs nothing. One that holds an unsaved edit refuses to be re-queried (3219).
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <qm/naaccr_layout.h>
#include <qm/recordset.h>
#include <qm/variant.h>

#include "records/record_family.h"

namespace qm {

class SplitRecord {
 public:
  using RecordsetList = std::vector<std::shared_ptr<qm::Recordset>>;

  SplitRecord(const RecordFamily& family, std::shared_ptr<NAACCRLayout> layout);

  /// Element 0 is table 1. Fills the text array unless the primary recordset is at its end.
  void AttachRecordsets(RecordsetList recordsets);

  Variant Fields(const Variant& vFieldIndex);
  void SetFields(const Variant& vFieldIndex, const Variant& value);
  Variant FieldByIndex(std::int16_t iFieldIndex);
  void SetFieldByIndex(std::int16_t iFieldIndex, const Variant& value);
  Variant FieldByName(std::string_view strFieldName);
  void SetFieldByName(std::string_view strFieldName, const Variant& value);
  std::shared_ptr<qm::Recordset> Recordset(std::int16_t Index);
  RecordsetList Recordsets();
  std::int16_t FieldTableNo(std::int16_t Index) const;

  // split_record_moves.cpp
  using MoveMember = void (qm::Recordset::*)();
  void Move(MoveMember move);
  void Find(std::string_view strCriteria);
  void SeekRecord(const Variant& vValue);
  void SetIndex(std::string_view name);
  Variant BookMark() const;
  void SetBookMark(const Variant& value);
  void CloseRecordset();

  // split_record_save.cpp
  void AddNew(std::int32_t key);
  void Update();
  void CancelUpdate();
  bool CriticalFieldsMissing();

  // record_export.cpp
  std::string Max(std::string_view strFieldName);
  std::string GetXML();

  /// The recordset that navigation moves.
  qm::Recordset& Primary() const;
  /// What this record knows of its fields. Changing it changes no other record and no layout.
  const ControlArrays& FieldArrays() const { return *fields_; }
  ControlArrays& ChangeFieldArrays();
  const RecordFamily& Family() const { return *family_; }

  /// The table of a column: the family's own columns, then the layout's; 0 when unknown.
  int getTable(std::string_view name) const;

  bool AutoFormatValues() const { return auto_format_values_; }
  void SetAutoFormatValues(bool value) { auto_format_values_ = value; }

 private:
  void MarkStale();
  void RefillTexts();
  void RefillTextsThatFollow();
  bool PlacedByBookmark(std::size_t table, const Variant& bookmark);
  void SavePrimaryWithMemo();
  bool TextsAreThoseOf(const Variant& memo) const;
  std::string XmlValue(std::int16_t index);
  bool ShowsRecord(const qm::Recordset& recordset, int table) const;
  qm::Recordset& Current(int table);
  void Open(qm::Recordset& recordset, int table);
  bool IsTextField(std::int16_t index) const;
  int FieldTable(std::int16_t index) const;
  std::string Padded(std::string_view value, std::int16_t index) const;
  void SplitMemo(std::string memo);

  const RecordFamily* family_;
  std::shared_ptr<NAACCRLayout> layout_;
  std::shared_ptr<const ControlArrays> fields_;
  std::shared_ptr<ControlArrays> own_fields_;  ///< the same, once this record changed them
  RecordsetList recordsets_;
  std::vector<bool> stale_;
  std::vector<std::string> texts_;  ///< element 0 is unused
  bool auto_format_values_ = false;
};

}  // namespace qm

// QMDataSets: the service through which an application reaches the registry's data, once
// `QMConnection` has filled the thread's session. It retrieves records, loads the layout, stores
// incoming records, allocates identifiers and keeps the global recordsets.
//
// It holds one layout and a cursor location; the global recordsets belong to the thread's session
// and stay open until `CloseGlobalRecordsets`. -1 (`kNoId`) means that an identifier is not given.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <qm/api.h>
#include <qm/display.h>
#include <qm/naaccr_layout.h>
#include <qm/record.h>
#include <qm/recordset.h>

namespace qm {

inline constexpr std::int32_t kNoId = -1;
inline constexpr std::uint16_t kNewestVersion = 65535;

class QM_API QMDataSets {
 public:
  QMDataSets();
  ~QMDataSets();
  QMDataSets(QMDataSets&&) noexcept;
  QMDataSets& operator=(QMDataSets&&) noexcept;

  /// The abstracts that the last identifier given selects (abstract, patient, tumor, in that
  /// order), or the where-clause when there is none; without criteria an empty, updatable view.
  /// Any failure is base + 1100, source "QMObjects.QMDatasets.GetAbstract".
  Abstract GetAbstract(std::int32_t lAbsRefID = kNoId, std::int32_t lPatientID = kNoId,
                       std::int32_t lMedRefID = kNoId, std::string_view strWhere = {});
  /// Base + 1101. A where-clause without an identifier selects nothing.
  Patient GetPatient(std::int32_t lPatientID = kNoId, std::string_view strWhere = {});
  /// Base + 1103. The tumors of a patient come ordered by SeqNumCentr.
  Tumor GetTumor(std::int32_t lMedRefID = kNoId, std::int32_t lPatientID = kNoId,
                 std::string_view strWhere = {});

  /// Loads the layout of a version, the newest one by default, into this object's layout and gives
  /// it. `strOrderBy` is the order of the field indexes, an expression over the field table.
  /// No parameters row: -2147220400; no version row: 1115; a failure while loading fields: 438.
  std::shared_ptr<NAACCRLayout> GetNAACCRLayout(std::uint16_t iVersion = kNewestVersion,
                                                std::string_view strOrderBy = "ColumnStart");
  /// Makes a layout loaded elsewhere this object's layout.
  void SetNAACCRLayout(std::shared_ptr<NAACCRLayout> objNAACCRLayout);

  /// Stores one fixed-width record as a new abstract under that key: one row in each abstract
  /// table. Gives nothing; `GetAbstract` retrieves it. The values stand in the statements as they
  /// are, so one with an apostrophe fails; texts are left out. `blnUseDefaultProject` and
  /// `importprojects` are not used. Nothing is trapped or undone.
  std::optional<Abstract> AddAbstract(std::string_view strNAACCRRec,
                                      bool blnUseDefaultProject = false,
                                      std::span<const std::int16_t> importprojects = {},
                                      std::int32_t AbsRefID = kNoId);

  /// Cuts a record as `AddAbstract` does and writes every field that it stores into that abstract,
  /// the texts too: what the record leaves blank becomes empty. 3021, before anything is written,
  /// when the abstract lacks its row in a table. One table is saved after the other and nothing is
  /// undone: wrap it in a transaction.
  void UpdateAbstract(std::int32_t lAbsRefID, std::string_view strBuffer);
  /// Makes a patient with the next identifier of the counter "PatientID": a row in every table of
  /// the family, every field that the abstract shares with patients as it is stored, texts too, and
  /// the `Soundex` of the last name. The abstract's `PatientID` is set and its own row saved. 3021
  /// when the abstract stands on no row or the counter gives no identifier; nothing is stored then.
  /// Nothing is undone when a later step fails: wrap it in a transaction. kErrRowChanged when the
  /// registry no longer links the abstract as this object shows it: another user did, or the
  /// transaction of an earlier call was rolled back. Retrieve it anew.
  Patient AddPatient(Abstract& qmAbstract);
  /// Makes a tumor of the abstract's patient with the next identifier of the counter "MedRefID" and
  /// every field that the abstract shares with tumors. The abstract's `MedRefID` is set. 3021 when
  /// the abstract has no patient. Otherwise as `AddPatient`.
  Tumor AddTumor(Abstract& qmAbstract);

  /// One fixed-width record, as long as an abstract record of the layout, from an abstract: a
  /// facility's case report. Dates of code "D" come out as MMDDCCYY, other values as padded, cut at
  /// their field's length. Any failure is base + 1107.
  std::string CreateFacilityNAACCRBuffer(Abstract& qmAbstract);
  /// The same from a patient and one of its tumors, whose value wins where both have the field: the
  /// registry's consolidated record. Leaves both with the patient's `AutoFormatValues`. Base +
  /// 1108.
  std::string CreateConsolidatedNAACCRBuffer(Patient& qmPatient, Tumor& qmTumor);

  /// A stored selection of items. An unknown identifier gives an empty display without a name.
  /// Nothing is trapped.
  Display LoadDisplay(std::int16_t iDisplayID);
  /// A placeholder of the interface: stores nothing and gives 0.
  std::int16_t SaveDisplay(const Display& objDisplay);

  /// Reads the first record of a text that `GetXML` of a record wrote into the value slots
  /// (`fieldvalue`) of this object's layout, and gives the layout. White space between elements is
  /// no node. A text that is not well-formed, or without the elements looked for, is error 91.
  std::shared_ptr<NAACCRLayout> GetAbstractXML(std::string_view strXML);

  /// The next identifier of a counter; 0 when there is no such counter, -1 when the user gave up.
  std::int32_t BaseID(std::string_view strTable);

  /// Opens every table of the three families; the layout's table counts must be known.
  void OpenGlobalRecordsets();
  /// Closes them; the subscript error (9) before any `OpenGlobalRecordsets` on the thread.
  void CloseGlobalRecordsets();

  /// Opens an ad-hoc query on the registry connection; the caller owns the recordset.
  std::shared_ptr<Recordset> GetRecordset(std::string_view strSQL,
                                          std::int32_t iCursorType = kOpenForwardOnly,
                                          std::int32_t iLockType = kLockReadOnly);
  /// The folder that holds the library's own file.
  std::string AppPath() const;
  std::int16_t CursorLocation() const;
  void SetCursorLocation(std::int16_t location);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace qm

// ImportLayouts: the record layouts of the control database, as an import needs them: the version
// codes and record lengths of all at once, each layout itself loaded when first asked for, with a
// `QMDataSets` of its own, so that one file may mix versions.
#pragma once

#include <qm/data_sets.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qm {

class ImportLayout {
 public:
  std::int32_t version = 0;
  std::int16_t record_type_column = 0;
  std::int16_t version_column = 0;
  std::vector<std::string> codes;  ///< what a record's version column may hold

  /// Characters of a record of that type (I, C, A or M); 0 for any other.
  std::int32_t RecordLength(std::string_view type) const;
  /// The service that holds this layout, loaded.
  QMDataSets& DataSets();
  const NAACCRLayout& Layout();

 private:
  friend class ImportLayouts;
  bool ReadVersion();

  std::int16_t abstract_length_ = 0;
  std::int16_t confidential_length_ = 0;
  std::int16_t incidence_length_ = 0;
  std::unique_ptr<QMDataSets> data_sets_;
  std::shared_ptr<NAACCRLayout> layout_;
};

class ImportLayouts {
 public:
  /// Reads the control database of the session; one without layouts is the error that
  /// `GetNAACCRLayout` gives. With a version ("18", "11.3") only that one is kept; one that is not
  /// there is error 1115, naming it.
  explicit ImportLayouts(std::string_view version);

  /// The layout whose version code a record carries in its columns; null when there is none.
  ImportLayout* Find(std::string_view record);
  /// The one layout when a version was given, else null.
  ImportLayout* Forced() { return forced_; }
  /// The one of the greatest version.
  ImportLayout& Newest() { return layouts_.front(); }
  /// "columns 17 to 19: 180, 160; column 19: B", for messages.
  std::string KnownCodes() const;

 private:
  std::vector<ImportLayout> layouts_;
  ImportLayout* forced_ = nullptr;
};

}  // namespace qm

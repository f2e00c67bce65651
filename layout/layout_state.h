// What a layout holds, for the files of this folder that fill and read it, and the two things that
// records and data sets need beside the public face: the shared field arrays and the column lists.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <qm/error.h>
#include <qm/naaccr_layout.h>

#include "layout/layout_lists.h"
#include "layout/layout_lookups.h"

namespace qm {

inline constexpr std::size_t kTextFieldSlots = 21;  ///< elements 0 to 20

/// An element of an array of the platform: an index outside is the subscript error.
template <typename Elements, typename Index>
auto& At(Elements& elements, Index index) {
  if (index < 0 || static_cast<std::size_t>(index) >= elements.size()) RaiseRunTime(kErrSubscript);
  return elements[static_cast<std::size_t>(index)];
}

struct NAACCRLayout::State {
  using TextSlots = std::array<std::int16_t, kTextFieldSlots>;

  std::string Version;
  std::string ControlTable;
  std::string NAACCRGlobalValue;
  std::string NAACCRExchgValue;
  std::string MetaFileName;
  std::int16_t LengthOfAbstract = 0;
  std::int16_t LengthOfIncidence = 0;
  std::int16_t LengthOfConfidential = 0;
  std::int16_t ColProjects = 0;
  std::int16_t ColVersionID = 0;
  std::int16_t ColRecType = 0;
  std::int16_t FieldsCount = 0;
  std::int16_t TextFieldsCount = 0;
  std::int16_t AbsTableCnt = 0;
  std::int16_t PatTableCnt = 0;
  std::int16_t MedTableCnt = 0;

  /// Shared with the records attached to this layout, so it is copied before it is changed.
  std::shared_ptr<ControlArrays> arrays = std::make_shared<ControlArrays>();
  std::vector<std::string> fieldvalue;
  std::vector<std::string> FieldPromptingValue;
  std::vector<std::string> UnknownValues;
  std::vector<std::string> ValidateKey;  ///< never dimensioned

  TextSlots TextItemNo{};
  TextSlots TextFieldPos{};
  TextSlots TextFieldByItemNo{};
  TextSlots TextPosByItemNo{};

  std::optional<std::array<ColumnList, kAbstractTables>> abstract_columns;
  LayoutLookups lookups;

  ControlArrays& Changeable() {
    if (arrays.use_count() > 1) arrays = std::make_shared<ControlArrays>(*arrays);
    return *arrays;
  }
};

class LayoutAccess {
 public:
  /// What `GetControlArrays` copies, as it stands now; later changes of the layout do not show.
  static std::shared_ptr<const ControlArrays> Arrays(const NAACCRLayout& layout) {
    return layout.state_->arrays;
  }
  static const std::optional<std::array<ColumnList, kAbstractTables>>& Columns(
      const NAACCRLayout& layout) {
    return layout.state_->abstract_columns;
  }
};

}  // namespace qm

// The texts of a record and their memo: every text in the order of the item numbers, each followed
// by the separator.
#include <string>
#include <string_view>

#include "layout/layout_state.h"
#include "layout/record_columns.h"
#include "runtime/text.h"
#include "session/trap.h"

namespace qm {

namespace {

constexpr char kSeparator = '\x02';

}  // namespace

std::int16_t NAACCRLayout::CompressMemoText(std::string& sMemoText,
                                            const std::vector<std::string>& sTextStrs) const {
  return Trap(1314, "QMObjects.NAACCRLayOut.CompressMemoText_rtn", [&]() -> std::int16_t {
    sMemoText.clear();
    for (int r = 1; r <= state_->TextFieldsCount; ++r) {
      sMemoText += Trim(At(sTextStrs, At(state_->TextFieldByItemNo, r)));
      sMemoText += kSeparator;
    }
    return 0;
  });
}

std::int16_t NAACCRLayout::GetMemoTextArray(std::string& sMemoText,
                                            std::vector<std::string>& sTextStrs) const {
  return Trap(1315, "QMObjects.NAACCRLayOut.GetMemoTextArray", [&]() -> std::int16_t {
    if (sMemoText.empty()) {
      for (int k = 1; k <= state_->TextFieldsCount; ++k) At(sTextStrs, k).clear();
      return 0;
    }
    std::int16_t status = 0;
    std::size_t start = 0;
    for (int r = 1; r <= state_->TextFieldsCount; ++r) {
      std::size_t end = sMemoText.find(kSeparator, start);
      if (end == std::string::npos) {
        status = -1;
        end = sMemoText.size();
        sMemoText += kSeparator;
      }
      At(sTextStrs, At(state_->TextFieldByItemNo, r)) = sMemoText.substr(start, end - start);
      start = end + 1;
    }
    return sMemoText.find(kSeparator, start) != std::string::npos ? std::int16_t{1} : status;
  });
}

std::int16_t NAACCRLayout::GetTextFromNAACCRRec(std::string_view NAACCRtext,
                                                std::vector<std::string>& sTextStrs) const {
  return Trap(1316, "QMObjects.NAACCRLayOut.GetTextFromNAACCRRec", [&]() -> std::int16_t {
    const RecordColumns columns(NAACCRtext);
    const ControlArrays& fields = *state_->arrays;
    sTextStrs.assign(static_cast<std::size_t>(state_->TextFieldsCount) + 1, {});
    for (int r = 1; r <= state_->TextFieldsCount; ++r) {
      const std::int16_t k = At(state_->TextFieldByItemNo, r);
      const std::int16_t length = At(fields.iField_Len, k);
      if (length > 0) {
        At(sTextStrs, k) = Trim(columns.Cut(At(fields.iField_Start, k), length));
      }
    }
    return 0;
  });
}

}  // namespace qm

#include <qm/display.h>

#include <algorithm>

#include <qm/conversions.h>
#include <qm/error.h>

#include "runtime/text.h"

namespace qm {

namespace {

std::size_t PlaceOf(std::int16_t index, std::size_t count) {
  if (index < 1 || static_cast<std::size_t>(index) > count) RaiseRunTime(kErrSubscript);
  return static_cast<std::size_t>(index) - 1;
}

}  // namespace

const Display& Display::Item(std::int16_t Index) const {
  PlaceOf(Index, fields_.size());
  RaiseRunTime(kErrTypeMismatch);
}

void Display::SetItem(std::int16_t Index, const DisplayField& objDisplayField) {
  fields_[PlaceOf(Index, fields_.size())] = objDisplayField;
}

std::int16_t Display::Count() const { return NarrowInt16(static_cast<double>(fields_.size())); }

void Display::Add(const DisplayField& objDisplayField, const std::optional<std::string>& strKey) {
  const auto same = [&strKey](const std::optional<std::string>& key) {
    return key && UpperCase(*key) == UpperCase(*strKey);
  };
  if (strKey && std::ranges::any_of(keys_, same)) RaiseRunTime(kErrKeyInUse);
  keys_.push_back(strKey);
  fields_.push_back(objDisplayField);
}

void Display::Remove(std::int16_t Index) {
  const auto place = static_cast<std::ptrdiff_t>(PlaceOf(Index, fields_.size()));
  fields_.erase(fields_.begin() + place);
  keys_.erase(keys_.begin() + place);
}

}  // namespace qm

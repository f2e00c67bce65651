// What a `QMDataSets` holds, for the files of this folder that implement its members.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include <qm/data_sets.h>

namespace qm {

struct QMDataSets::State {
  std::shared_ptr<NAACCRLayout> layout;
  std::int16_t cursor_location = kUseClient;

  /// This object's layout; an empty one until one was loaded or set.
  const std::shared_ptr<NAACCRLayout>& Layout() {
    if (!layout) layout = std::make_shared<NAACCRLayout>();
    return layout;
  }
};

}  // namespace qm

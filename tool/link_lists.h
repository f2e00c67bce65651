// The lists that `qm link` prints: the offers of one abstract, or of those left for review.
#pragma once

#include <qm/linker.h>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "tool/result_writer.h"

namespace qm::tool {

class OfferList {
 public:
  /// With `tells_linked` a second column tells which abstracts the score alone decides.
  OfferList(Format format, bool tells_linked);

  /// One line an offer; an abstract without any has one line with empty cells for the patient.
  void Add(std::int32_t abstract_id, std::span<const OfferedMatch> offers, bool linked = false);
  void Finish() { results_.Finish(); }

 private:
  bool tells_linked_;
  ResultWriter results_;
};

}  // namespace qm::tool

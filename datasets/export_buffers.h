// The fixed-width records that `CreateFacilityNAACCRBuffer` and `CreateConsolidatedNAACCRBuffer`
// give, before they become a text, so that the exporter of files can set its own columns.
//
// `AutoFormatValues` of the records is switched on while their values are read and set back at the
// end; a failure on the way leaves it on. Failures carry the operation's number and source.
#pragma once

#include <qm/naaccr_layout.h>
#include <qm/record.h>

#include "datasets/record_buffer.h"

namespace qm {

/// What becomes of an item that holds the empty text and whose code pads with zeros.
enum class EmptyItems {
  kPadded,  ///< zeros, as every formatted read of the record gives
  kBlank    ///< blank columns, since zeros are a value of their own
};

RecordBuffer FacilityRecord(const NAACCRLayout& layout, Abstract& qmAbstract, EmptyItems empty);
RecordBuffer ConsolidatedRecord(const NAACCRLayout& layout, Patient& qmPatient, Tumor& qmTumor,
                                EmptyItems empty);

}  // namespace qm

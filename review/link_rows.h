// The rows that a link makes: its own in QMLinks, and those of the records that it added, which can
// be told from later versions of themselves by a digest, and deleted.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <qm/naaccr_layout.h>
#include <qm/variant.h>

#include "records/record_family.h"

namespace qm {

/// What one link made and found.
struct LinkRow {
  std::int32_t abstract_id = 0;
  std::int32_t patient_id = 0;
  std::int32_t tumor_id = 0;
  bool new_patient = false;
  bool new_tumor = false;
  Variant former_patient;  ///< the abstract's identifiers before, as they stood
  Variant former_tumor;
  std::string patient_digest;  ///< of the records made; empty for one that was there
  std::string tumor_digest;
};

std::optional<LinkRow> ReadLink(std::int32_t abstract_id);
/// Writes the row, which is made where it is missing: another link of that abstract, made in
/// between by another user, is kErrKeyInUse.
void WriteLink(const LinkRow& link, bool is_new);
void DeleteLink(std::int32_t abstract_id);

/// A digest of a record's rows in all tables of its family. What is Null does not count, so columns
/// added later change nothing; nor do the columns of a lock.
std::string RowsDigest(const RecordFamily& family, const NAACCRLayout& layout, std::int32_t id);
/// Deletes a record's rows from all tables of its family.
void DeleteRows(const RecordFamily& family, const NAACCRLayout& layout, std::int32_t id);

}  // namespace qm

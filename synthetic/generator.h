// GenerateRegistry: fills an initialised registry with synthetic patients and writes incoming
// abstracts about some of them, with the truth beside, so that matching can be shown and measured.
//
// The same options give the same bytes and rows on every platform. Nobody in it is real: names are
// drawn by census frequency, and social security numbers from area numbers that are never issued.
// A million patients take about a minute on SQLite.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>

#include <qm/connection.h>
#include <qm/naaccr_layout.h>

namespace qm {

struct SyntheticOptions {
  std::int64_t patients = 0;  ///< registered patients, at most ten million
  std::int64_t incoming = 0;  ///< incoming abstracts, at most ten million
  std::uint64_t seed = 1;
  /// Called when both streams are complete, before the registry keeps anything: the place to put
  /// files where they belong. What it throws leaves the registry as it was.
  std::function<void()> before_commit{};
};

/// Told how many of the patients and incoming records together are done.
using SyntheticProgress = std::function<void(std::int64_t done, std::int64_t total)>;

/// Adds the patients, each with a tumor, to the registry in one transaction, advancing the counters
/// PatientID and MedRefID; the registry must hold no patients yet (kErrNotAllowedHere). Writes the
/// abstracts to `incoming`, one line of type A a record of the layout, which must be one of version
/// 18, and to `truth` the lines `Line,PatientID` (line from 1; empty for a person who is not
/// registered). A failure, of a stream as well, leaves the registry as it was. A number out of
/// range is kErrBadArgument.
void GenerateRegistry(const std::shared_ptr<Connection>& registry, const NAACCRLayout& layout,
                      const SyntheticOptions& options, std::ostream& incoming, std::ostream& truth,
                      const SyntheticProgress& progress = {});

}  // namespace qm

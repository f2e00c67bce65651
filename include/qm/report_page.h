// The review page: the pairs of incoming abstracts and registered patients that may be the same
// person, as one HTML file in which reviewers decide, pair by pair.
//
// Order of calls: a session with registry and control database; `Matcher::ReadMatchingParams`;
// `WriteReportPage`. The page needs nothing but a browser: no network, no other file. It shows
// scores when it is asked to, keeps decisions in the browser and gives them as the file that
// `Linker`'s users read (abstract, patient or "new" or "no" with a patient, reviewer, note).
//
// Left out are abstracts that are part of a case and pairs that were declined. The file holds
// patients' data: it is readable by its owner alone, is built aside and put in place when complete.
// Cost: one candidate search an abstract, some short statements a pair; memory does not grow with
// the number of pairs, neither here nor, but for their texts, in the browser.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

#include <qm/api.h>
#include <qm/connection.h>

namespace qm {

struct ReportOptions {
  /// Least score of a pair that is shown; otherwise the one kept with the rules.
  std::optional<std::int16_t> cutoff;
  /// Replace a file that is there already; otherwise it is error 58.
  bool replace = false;
  /// Where blocking rules and candidates are read; otherwise the registry.
  std::shared_ptr<Connection> matching;
  /// Called before each abstract with its identifier, the abstracts done and their total.
  std::function<void(std::int32_t abstract_id, std::int64_t done, std::int64_t total)> progress;
};

struct ReportSummary {
  std::int64_t abstracts = 0;  ///< with at least one pair
  std::int64_t pairs = 0;
  std::int64_t unmatched = 0;  ///< abstracts without a candidate to show; not in the page
};

/// Writes the page. 58 when the file is there, 75 when it cannot be written, each naming the file;
/// other failures are those of databases, layout and rules. Nothing is left behind by a failure.
QM_API ReportSummary WriteReportPage(const std::filesystem::path& file,
                                     const ReportOptions& options = {});

}  // namespace qm

// Exporter: records of the registry become a file of fixed-width NAACCR records that other
// registries, and `Importer`, take.
//
// Order of calls: a session with registry and control database; one exporter; `ExportAbstracts` or
// `ExportTumors` once for each file. The records are those of the identifiers given, in that order,
// or all of them by ascending identifier.
//
// A record is what `QMDataSets` makes of it (`CreateFacilityNAACCRBuffer`,
// `CreateConsolidatedNAACCRBuffer`) in the layout chosen, with that layout's version code in the
// version column unless it holds one that the layout accepts, cut to the length of its own record
// type; one without a known type is written as an abstract record. The file is built aside and put
// in place when complete, readable by its owner alone; a path that ends in ".gz" is compressed.
//
// Memory does not grow with the file. An exporter belongs to the thread that made it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include <qm/api.h>

namespace qm {

struct ExportOptions {
  /// The layout of the file ("18", "11.3"); empty: the newest one of the control database.
  std::string version;
  /// CR LF instead of LF behind each record.
  bool crlf = false;
  /// Replace a file that is there already; otherwise it is error 58.
  bool replace = false;
  /// Called after each record with the records done and their total.
  std::function<void(std::int64_t done, std::int64_t total)> progress;
};

struct ExportSummary {
  std::int64_t records = 0;
};

class QM_API Exporter {
 public:
  explicit Exporter(ExportOptions options = {});
  ~Exporter();
  Exporter(Exporter&&) noexcept;
  Exporter& operator=(Exporter&&) noexcept;

  /// The facilities' reports of those abstracts; none given: of all. An identifier that is not
  /// there is 3021 and names it; 75 when the file cannot be written, naming the file. Nothing is
  /// left behind by a failure.
  ExportSummary ExportAbstracts(std::span<const std::int32_t> ids,
                                const std::filesystem::path& file);
  /// The consolidated records of those tumors with their patients.
  ExportSummary ExportTumors(std::span<const std::int32_t> ids, const std::filesystem::path& file);

  /// The identifier in work when an export failed; 0 while there is none.
  std::int32_t RecordInWork() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace qm
